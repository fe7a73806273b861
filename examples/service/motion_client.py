#!/usr/bin/python3
"""Flip to mute: a client of quil-motiond in a few lines (python3-dbus, GLib's main loop).

    motion_client.py [--session] [COMMAND [ARG...]]

Claims flip (motion type 3) and prints every flip; when the device is laid face down
(result 1) it also runs COMMAND, for example: motion_client.py pactl set-sink-mute
@DEFAULT_SINK@ 1. The claim is released when the program ends, however it ends.
"""
import subprocess
import sys

import dbus
import dbus.mainloop.glib
from gi.repository import GLib

NAME, PATH = "org.quilmotion.Motion1", "/org/quilmotion/Motion1"
FLIP, FACE_DOWN = 3, 1

args = sys.argv[1:]
session = args[:1] == ["--session"]
command = args[1:] if session else args

dbus.mainloop.glib.DBusGMainLoop(set_as_default=True)
bus = dbus.SessionBus() if session else dbus.SystemBus()


def on_motion(motion_type, result, status, action, direction, rotate_action, move):
    print(f"flip: result {result}", flush=True)
    if result == FACE_DOWN and command:
        subprocess.run(command, check=False)


# Only the service's own signals, and only those of our claims, reach us.
bus.add_signal_receiver(on_motion, signal_name="Motion", dbus_interface=NAME, bus_name=NAME,
                        path=PATH)
motion = dbus.Interface(bus.get_object(NAME, PATH), NAME)
try:
    motion.Claim(FLIP)
except dbus.exceptions.DBusException as error:
    sys.exit(f"motion_client.py: {error.get_dbus_name()}: {error.get_dbus_message()}")
try:
    GLib.MainLoop().run()
except KeyboardInterrupt:
    pass
