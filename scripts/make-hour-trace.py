#!/usr/bin/python3
"""Writes a trace of one hour of 100 Hz accelerometer samples (360,000 records) with
flip, pick-up, rotation and shake enabled, for timing quil-replay. The device lies,
is picked up, turned, shaken and laid down again in a repeating, slightly noisy cycle.

usage: scripts/make-hour-trace.py [OUT]   (default: standard output)
"""
import random
import sys

SAMPLES = 360000
PERIOD_MS = 10
# (x, y, z) poses held for a while each, as a person handles a phone.
POSES = [(0.1, 0.2, 9.8), (0.9, 3.4, 12.9), (3.3, 8.6, 2.7), (9.8, 0.1, 0.2),
         (15.0, 3.0, 2.0), (-15.0, -3.0, 2.0), (6.9, 0.2, 6.9), (0.1, 0.2, -9.8)]


def main():
    out = open(sys.argv[1], "w") if len(sys.argv) > 1 else sys.stdout
    rng = random.Random(2026)
    out.write("# one hour at 100 Hz: flip, pick-up, rotation and shake\n")
    for motion_type in (3, 0, 4, 6):
        out.write("enable %d\n" % motion_type)
    pose = POSES[0]
    left = 0
    for i in range(SAMPLES):
        if left == 0:
            pose = POSES[rng.randrange(len(POSES))]
            left = rng.randrange(5, 300)
        left -= 1
        x, y, z = (v + rng.gauss(0.0, 0.15) for v in pose)
        out.write("@%d acc %.3f %.3f %.3f\n" % (i * PERIOD_MS, x, y, z))
    for motion_type in (3, 0, 4, 6):
        out.write("disable %d\n" % motion_type)


if __name__ == "__main__":
    main()
