#!/usr/bin/python3
"""Emulated touchscreens for umockdev, made from evemu recordings' device descriptions.

For each panel under tests/data/recordings/touchscreens this writes NAME.umockdev (the
event node and its input device, as udev shows them) and NAME.ioctl (the answers to the
evdev ioctls that libevdev asks when it opens the node: name, id, properties, event and
axis bits, axis ranges, key/LED/switch state). Then

    umockdev-run -d NAME.umockdev -i /dev/input/eventN=NAME.ioctl \\
        -e /dev/input/eventN=RECORDING.events -- PROGRAM

plays the recording into the node, in real time, the moment PROGRAM opens it.

    evemu-to-umockdev.py            rewrite the files beside this script
    evemu-to-umockdev.py --check    exit 1 if any of them is not what would be written
"""
import os
import struct
import sys

HERE = os.path.dirname(os.path.abspath(__file__))
RECORDINGS = os.path.join(HERE, "..", "recordings", "touchscreens")

# Panel (the description's file name without its extension) -> event node number.
PANELS = {
    "EP0430M09.desc": 3,
    "Wacom-ISDv4-E6-Finger.desc": 4,
    "dell_canvas_touch.evemu": 5,
}

# What the kernel hands back for EVIOCGBIT(type, len) with libevdev's buffer sizes: the
# bitmap of each event type, in bytes (EV_KEY's is KEY_CNT / 8, the others' a long or two).
BIT_BYTES = {0x00: 8, 0x01: 96, 0x02: 8, 0x03: 8, 0x04: 8, 0x05: 8, 0x11: 8, 0x12: 8,
             0x14: 8, 0x15: 16}
NAME_BYTES = 255  # libevdev asks EVIOCGNAME with a 256-byte buffer less one


def parse(path):
    """Name, id, properties, event bits and axes of an evemu description (N:, I:, P:, B:, A:)."""
    desc = {"name": "", "id": [0, 0, 0, 0], "props": bytearray(), "bits": {}, "abs": {}}
    with open(path, encoding="utf-8") as lines:
        for line in lines:
            line = line.split("#", 1)[0].rstrip("\n")
            tag, _, rest = line.partition(":")
            fields = rest.split()
            if tag == "N":
                desc["name"] = rest.strip()
            elif tag == "I":
                desc["id"] = [int(f, 16) for f in fields]
            elif tag == "P":
                desc["props"] += bytes(int(f, 16) for f in fields)
            elif tag == "B":
                bits = desc["bits"].setdefault(int(fields[0], 16), bytearray())
                bits += bytes(int(f, 16) for f in fields[1:])
            elif tag == "A":
                desc["abs"][int(fields[0], 16)] = [int(f) for f in fields[1:6]]
    return desc


def fitted(data, size):
    return bytes(data[:size]) + bytes(max(0, size - len(data)))


def ioctl_record(desc, node):
    out = ["@DEV " + node]

    def record(name, result, data):
        out.append("%s %d %s" % (name, result, data.hex().upper()))

    name = desc["name"].encode("utf-8") + b"\0"
    record("EVIOCGNAME", len(name), fitted(name, NAME_BYTES))
    record("EVIOCGID", 0, struct.pack("<4H", *desc["id"]))
    record("EVIOCGVERSION", 0, struct.pack("<i", 0x010001))
    record("EVIOCGPROP", 8, fitted(desc["props"], 8))
    for ev_type, size in sorted(BIT_BYTES.items()):
        record("EVIOCGBIT(%d)" % ev_type, size, fitted(desc["bits"].get(ev_type, b""), size))
    # Nothing is pressed, lit or switched when the node is opened.
    record("EVIOCGKEY", 96, bytes(96))
    record("EVIOCGLED", 8, bytes(8))
    record("EVIOCGSW", 8, bytes(8))
    for code, (minimum, maximum, fuzz, flat, resolution) in sorted(desc["abs"].items()):
        record("EVIOCGABS(%d)" % code, 0,
               struct.pack("<6i", 0, minimum, maximum, fuzz, flat, resolution))
    return "\n".join(out) + "\n"


def device_record(desc, number):
    input_path = "/devices/virtual/input/input%d" % number
    name = desc["name"]
    return "\n".join([
        "P: %s/event%d" % (input_path, number),
        "N: input/event%d" % number,
        "E: DEVNAME=/dev/input/event%d" % number,
        "E: SUBSYSTEM=input",
        "E: MAJOR=13",
        "E: MINOR=%d" % (64 + number),
        "E: ID_INPUT=1",
        "E: ID_INPUT_TOUCHSCREEN=1",
        "A: dev=13:%d" % (64 + number),
        "",
        "P: " + input_path,
        "E: SUBSYSTEM=input",
        'E: NAME="%s"' % name,
        "E: PRODUCT=%x/%x/%x/%x" % tuple(desc["id"]),
        "A: name=" + name,
        "",
    ])


def outputs():
    for panel, number in sorted(PANELS.items()):
        desc = parse(os.path.join(RECORDINGS, panel))
        stem = os.path.splitext(panel)[0]
        yield stem + ".umockdev", device_record(desc, number)
        yield stem + ".ioctl", ioctl_record(desc, "/dev/input/event%d" % number)


def main(args):
    check = args == ["--check"]
    if args and not check:
        sys.stderr.write(__doc__)
        return 2
    stale = []
    for name, text in outputs():
        path = os.path.join(HERE, name)
        if check:
            try:
                with open(path, encoding="utf-8") as current:
                    if current.read() == text:
                        continue
            except OSError:
                pass
            stale.append(name)
        else:
            with open(path, "w", encoding="utf-8") as out:
                out.write(text)
    if stale:
        sys.stderr.write("not what %s writes: %s\n" % (os.path.basename(__file__), " ".join(stale)))
        return 1
    return 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
