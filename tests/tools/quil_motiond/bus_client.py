#!/usr/bin/python3
"""A D-Bus client of quil-motiond for the tests, written as any program would use the
service (python3-dbus over libdbus, GLib's main loop). It runs the steps given as
arguments in order and prints one line for each outcome:

  claim:T            "claim T ok" or "claim T error NAME MESSAGE"
  release:T          "release T ok" or "release T error NAME MESSAGE"
  claims:N:T         claims T N times: "claims ok=K NAME=M ..."
  call:M:SIG:JSON    calls method M with signature SIG and the JSON list of arguments
  get:PROP           "get PROP VALUE" (VALUE as JSON)
  receive:N:SECONDS  reads messages until N motions came or SECONDS passed; each motion is
                     a line as quil-replay prints a report ("report type:3 result:1 ..."),
                     each change of AvailableTypes "available [...]"; then "received N"
  hold               reads messages until killed
  sleep:SECONDS      does nothing, not even read its messages
  ready              prints "ready" (for a test waiting on the claims before it)
  spoof:SIGNATURE:JSON  sends the service, as if from the bus daemon, a NameOwnerChanged
                     signal with these arguments (the daemon sets the real sender)
  unique             prints "unique NAME", this connection's unique name
  own:NAME           asks for a bus name: "own NAME ok" or "own NAME error NAME MESSAGE"
  describe[:FILE]    the service's interface as one line, from its live introspection or
                     from the introspection file FILE, to compare the two

The bus is the one in DBUS_SESSION_BUS_ADDRESS."""

import json
import os
import sys
import time
import xml.etree.ElementTree as ElementTree

import dbus
import dbus.mainloop.glib
from gi.repository import GLib

NAME = "org.quilmotion.Motion1"
PATH = "/org/quilmotion/Motion1"

dbus.mainloop.glib.DBusGMainLoop(set_as_default=True)
bus = dbus.bus.BusConnection(os.environ["DBUS_SESSION_BUS_ADDRESS"])
loop = GLib.MainLoop()
motions = []
target = [0]


def say(*words):
    print(" ".join(str(word) for word in words), flush=True)


def on_motion(*args):
    motions.append(args)
    fields = zip(["type", "result", "status", "action", "direction", "rotateAction"], args)
    say("report", *[f"{name}:{int(value)}" for name, value in fields],
        f"move:{float(args[6]):.6f}")
    if target[0] and len(motions) >= target[0]:
        loop.quit()


def on_properties(interface, changed, invalidated):
    if "AvailableTypes" in changed:
        say("available", json.dumps([int(t) for t in changed["AvailableTypes"]]))


bus.add_signal_receiver(on_motion, signal_name="Motion", dbus_interface=NAME, bus_name=NAME,
                        path=PATH)
bus.add_signal_receiver(on_properties, signal_name="PropertiesChanged",
                        dbus_interface="org.freedesktop.DBus.Properties", bus_name=NAME,
                        path=PATH)


def call(method, signature, args):
    return bus.call_blocking(NAME, PATH, NAME, method, signature, args)


def outcome(words, method, signature, args):
    try:
        call(method, signature, args)
        say(*words, "ok")
        return "ok"
    except dbus.exceptions.DBusException as error:
        say(*words, "error", error.get_dbus_name(), error.get_dbus_message())
        return error.get_dbus_name()


def describe(xml):
    """The interface's members, arguments, types and annotations, in one sorted line."""
    interface = ElementTree.fromstring(xml).find(f"interface[@name='{NAME}']")
    if interface is None:
        return "no interface"
    items = []
    for member in interface:
        words = [member.tag, member.get("name")]
        if member.tag == "property":
            words += [member.get("type"), member.get("access")]
        for arg in member.findall("arg"):
            words += [arg.get("direction", "in" if member.tag == "method" else "out"),
                      arg.get("type"), arg.get("name")]
        for annotation in member.findall("annotation"):
            words.append(f"{annotation.get('name')}={annotation.get('value')}")
        items.append(" ".join(words))
    return "; ".join(sorted(items))


def receive(count, seconds):
    target[0] = len(motions) + count if count else 0
    GLib.timeout_add(int(seconds * 1000), loop.quit)
    loop.run()
    say("received", len(motions))


for step in sys.argv[1:]:
    kind, _, rest = step.partition(":")
    parts = rest.split(":") if rest else []
    if kind == "claim":
        outcome(["claim", parts[0]], "Claim", "i", [int(parts[0])])
    elif kind == "release":
        outcome(["release", parts[0]], "Release", "i", [int(parts[0])])
    elif kind == "claims":
        counts = {}
        for _ in range(int(parts[0])):
            try:
                call("Claim", "i", [int(parts[1])])
                name = "ok"
            except dbus.exceptions.DBusException as error:
                name = error.get_dbus_name()
            counts[name] = counts.get(name, 0) + 1
        say("claims", *sorted(f"{name}={count}" for name, count in counts.items()))
    elif kind == "call":
        method, signature, args = rest.split(":", 2)
        outcome(["call", method], method, signature, json.loads(args))
    elif kind == "get":
        value = bus.call_blocking(NAME, PATH, "org.freedesktop.DBus.Properties", "Get", "ss",
                                  [NAME, parts[0]])
        say("get", parts[0], json.dumps(value))
    elif kind == "receive":
        receive(int(parts[0]), float(parts[1]))
    elif kind == "hold":
        target[0] = 0
        loop.run()
    elif kind == "sleep":
        time.sleep(float(parts[0]))
    elif kind == "ready":
        say("ready")
    elif kind == "spoof":
        signature, args = rest.split(":", 1)
        signal = dbus.lowlevel.SignalMessage("/org/freedesktop/DBus", "org.freedesktop.DBus",
                                             "NameOwnerChanged")
        signal.set_destination(bus.get_name_owner(NAME))
        signal.append(*json.loads(args), signature=signature)
        bus.send_message(signal)
        bus.flush()
        say("spoof sent")
    elif kind == "unique":
        say("unique", bus.get_unique_name())
    elif kind == "own":
        try:
            bus.request_name(rest, dbus.bus.NAME_FLAG_DO_NOT_QUEUE)
            say("own", rest, "ok")
        except dbus.exceptions.DBusException as error:
            say("own", rest, "error", error.get_dbus_name(), error.get_dbus_message())
    elif kind == "describe" and rest:
        with open(rest, encoding="utf-8") as file:
            say(describe(file.read()))
    elif kind == "describe":
        say(describe(bus.call_blocking(NAME, PATH, "org.freedesktop.DBus.Introspectable",
                                       "Introspect", "", [])))
    else:
        sys.exit(f"bus_client.py: unknown step {step!r}")
