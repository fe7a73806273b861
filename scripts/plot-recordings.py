#!/usr/bin/python3
"""Regenerates docs/real-recordings.md and its figures from tests/data/recordings/.

Every recording is imported with build/quil-import, replayed with build/quil-replay
--json and drawn with quil-plot's figure, narrower than its default so that its text
stays legible at page width; the page gets the import command, the figure and a table
of the reports per motion type per minute. Run it after a build, and again
whenever the importer or the library changes what the recordings give:

    scripts/build.sh && scripts/plot-recordings.py [--build DIR]
"""

import argparse
import collections
import os
import subprocess
import sys
import tempfile

ROOT = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))
sys.path.insert(0, os.path.join(ROOT, "tools", "quil_plot"))

from quil_plot import marks  # noqa: E402
from quil_plot.figure import draw, plt  # noqa: E402  (headless: the module picks Agg)
from quil_plot.replay import parse_replay  # noqa: E402
from quil_plot.trace import read_trace  # noqa: E402

DATA = "tests/data/recordings"
DOC = "docs/real-recordings.md"
FIGURES = "docs/real-recordings"
# Narrower than quil-plot's default at a higher resolution: about 950 pixels wide, the
# figures keep their text legible at the width of a page.
FIGURE_INCHES = 9.5
PNG_DPI = 100
PNG_COLOURS = 128  # a palette PNG keeps each figure well under 200 KB
# The touch screens are landscape panels, the display portrait: each is turned a quarter
# clockwise (its left edge to the top), as quil-import suggests. How the devices were
# held, the recordings do not say; the other way round is --rotate 270.
TURN = ["--rotate", "90"]

WALKING = ("A phone's accelerometer at 100 Hz, about 190 s of walking with the phone "
           "{where}. Columns: time in ns since boot, x, y, z in m/s\u00b2 (no header).")
SCREEN_A = ("evemu recording of touch screen A (landscape, 0\u20131279 \u00d7 0\u2013767, "
            "5 slots, protocol B), turned onto the portrait display: {what}.")
SCREEN_B = ("evemu recording of touch screen B (landscape, 0\u20132776 \u00d7 0\u20131569, "
            "2 slots, protocol B), turned onto the portrait display: {what}.")

# (name, files relative to DATA, importer options, what it is, what the library makes of it)
RECORDINGS = [
    ("walking-hand", ["phone-walking/user1_hand_1506421989895.csv"], [],
     WALKING.format(where="held in the hand"),
     "Walking with the phone in the hand is not shaking: the rotation follows the phone "
     "as it is held. The log has no proximity or light, so pocket only ever says that the "
     "phone is not in a pocket; that holds for every walking recording."),
    ("walking-frontpocket-1", ["phone-walking/user1_frontpocket_1506422223341.csv"], [],
     WALKING.format(where="in a front trouser pocket, taken from the hand in the "
                                   "first seconds"),
     "In a trouser pocket every stride swings the phone: shake turns on and off about "
     "once a second and rotation follows the phone's tilt in the pocket."),
    ("walking-frontpocket-2", ["phone-walking/user2_frontpocket_1506422217391.csv"], [],
     WALKING.format(where="in a front trouser pocket (a second person), taken from "
                                   "the hand in the first seconds"),
     "The same with a second person: shake and rotation change more than twice a "
     "second. The flip in the first seconds is the phone being turned over "
     "as it is stowed."),
    ("walking-bag", ["phone-walking/user1_bag_1506423095164.csv"], [],
     WALKING.format(where="in a bag, taken from the hand in the first seconds"),
     "In a swinging bag shake turns on and off several times a second; the phone lies on "
     "its side, so rotation changes only now and then."),
    ("screen-a-1-finger-drag", ["touchscreens/EP0430M09.desc",
                          "touchscreens/EP0430M09.1-finger-drag-up-down.events"], TURN,
     SCREEN_A.format(what="one finger dragged up and down"),
     "Turned upright, the drag runs across the middle of the display and back; it starts "
     "in no edge zone: no swipe, rightly."),
    ("screen-a-2-finger-scroll", ["touchscreens/EP0430M09.desc",
                            "touchscreens/EP0430M09.2-finger-scroll-down.events"], TURN,
     SCREEN_A.format(what="a two-finger scroll down"),
     "Two fingers moving together keep their distance: no pinch, rightly."),
    ("screen-a-2-fingers-touch", ["touchscreens/EP0430M09.desc",
                            "touchscreens/EP0430M09.2-fingers-touch-release.events"], TURN,
     SCREEN_A.format(what="two fingers touching and releasing"),
     "Two fingers that do not move: nothing."),
    ("screen-a-4-finger-drag", ["touchscreens/EP0430M09.desc",
                          "touchscreens/EP0430M09.4-finger-drag-down.events"], TURN,
     SCREEN_A.format(what="four fingers dragged down"),
     "Four fingers are no gesture: nothing."),
    ("screen-b-1-finger-swipe", ["touchscreens/Wacom-ISDv4-E6-Finger.desc",
                            "touchscreens/Wacom-ISDv4-E6-Finger.single-top-swipe.events"], TURN,
     SCREEN_B.format(what="a one-finger swipe in from the panel's left edge, along its top"),
     "Turned a quarter clockwise, the panel's left edge is the display's top: the finger "
     "comes down at the top and runs down along the right edge, which no recogniser takes "
     "for a gesture (a swipe from the right edge runs left). Turned the other way "
     "(`--rotate 270`) the same stroke starts at the bottom edge and is reported as a swipe "
     "up (type 11); imported as the panel lies, without `--rotate`, it is a swipe from the "
     "left (type 10)."),
    ("screen-b-2-finger-swipe", ["touchscreens/Wacom-ISDv4-E6-Finger.desc",
                            "touchscreens/Wacom-ISDv4-E6-Finger.double-top-swipe.events"], TURN,
     SCREEN_B.format(what="a two-finger swipe in from the panel's left edge, along its top"),
     "The same with two fingers: an edge swipe is one finger, and the two keep their "
     "distance, so it is no pinch either: nothing."),
    ("screen-b-2-finger-scroll", ["touchscreens/Wacom-ISDv4-E6-Finger.desc",
                             "touchscreens/Wacom-ISDv4-E6-Finger.double-center-scroll.events"],
     TURN, SCREEN_B.format(what="a two-finger scroll in the centre"),
     "Two fingers scrolling together: nothing."),
    ("screen-c-large", ["touchscreens/dell_canvas_touch.evemu"], TURN,
     "evemu recording of touch screen C, a large landscape display (0\u201332767 on both "
     "axes, 596 \u00d7 334 mm by the axes' resolutions, 5 slots, protocol B, device "
     "description in the file's header), turned onto the portrait display: a five-finger "
     "pinch-in and a four-finger drag.",
     "More than three fingers are no gesture, and a pinch is two fingers: nothing."),
    ("getevent-single-drag", ["getevent/phone-single-drag.txt"], ["--guess-axes"],
     "`getevent -lt` dump of a phone's touch screen (protocol A) without its `-p` block, so "
     "without axis ranges: imported with `--guess-axes`, which takes the largest values "
     "seen as the maxima (the figure marks the axes as guessed): one finger dragged across "
     "the screen.",
     "The drag runs left to right from the middle, so it is no swipe from the left edge. "
     "With the largest values seen as the maxima it lies on the display's bottom row."),
    ("getevent-two-finger-drag", ["getevent/phone-two-finger-drag.txt"], ["--guess-axes"],
     "`getevent -lt` dump of the same phone (protocol A), imported the same way: two "
     "fingers dragged in parallel.",
     "Two fingers in parallel are neither an edge swipe nor a pinch: nothing."),
]


def run(command, what):
    done = subprocess.run(command, cwd=ROOT, capture_output=True, text=True)
    if done.returncode != 0:
        sys.exit(f"plot-recordings: {what} failed ({done.returncode}):\n{done.stderr}")
    return done.stdout


def outcome(report):
    """A report's kind for the breakdown: its label without amounts."""
    if report.type in marks.GESTURE_TYPES:
        phase = "end" if report.status == marks.STATUS_END else "start"
        if report.type == 12:
            return f"{marks.PINCH_ACTIONS.get(report.action, report.action)} {phase}"
        return f"{marks.ARROWS.get(report.direction, report.direction)} {phase}"
    return marks.report_label(report)


def report_table(trace, reports):
    minutes = trace.end / 60000.0
    lines = ["| motion type | reports | per minute | outcomes |", "|---|---:|---:|---|"]
    for kind in marks.lanes(reports, trace.calls):
        mine = [r for r in reports if r.type == kind]
        counts = collections.Counter(outcome(r) for r in mine)
        # In the order each outcome first happens: a gesture's start before its end.
        breakdown = ", ".join(f"{n} \u00d7 {what}" for what, n in counts.items())
        dash = "\u2013"
        rate = f"{len(mine) / minutes:.1f}" if minutes > 0 else dash
        lines.append(f"| {marks.type_name(kind)} ({kind}) | {len(mine)} | {rate} | "
                     f"{breakdown or dash} |")
    return lines, minutes


def summary_row(name, trace, reports, minutes):
    counts = collections.Counter(r.type for r in reports)
    rates = ", ".join(f"{marks.type_name(kind)} {n / minutes:.1f}"
                      for kind, n in sorted(counts.items())) if minutes > 0 else ""
    return f"| [{name}](#{name}) | {minutes * 60:.1f} s | {rates or 'none'} |"


SUMMARY_HEAD = [
    "| recording | length | reports per minute |",
    "|---|---:|---|",
]


def shrink_png(path):
    """Palette PNGs are a fraction of the size of full-colour ones for plots like these."""
    from PIL import Image

    with Image.open(path) as image:
        small = image.convert("RGB").quantize(colors=PNG_COLOURS)
    small.save(path, optimize=True)


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--build", default="build", help="the build directory (default build)")
    args = parser.parse_args()
    build = os.path.join(ROOT, args.build)
    importer = os.path.join(build, "quil-import")
    replayer = os.path.join(build, "quil-replay")
    for program in (importer, replayer):
        if not os.access(program, os.X_OK):
            sys.exit(f"plot-recordings: {program} is missing: build first (scripts/build.sh)")
    os.makedirs(os.path.join(ROOT, FIGURES), exist_ok=True)

    sections, summary = [], []
    with tempfile.TemporaryDirectory() as scratch:
        for name, files, options, about, seen in RECORDINGS:
            paths = [f"{DATA}/{f}" for f in files]
            command = ["build/quil-import", *options, *paths]
            trace_text = run([importer, *options, *paths], f"importing {name}")
            trace_path = os.path.join(scratch, name + ".trace")
            with open(trace_path, "w") as f:
                f.write(trace_text)
            replay_text = run([replayer, "--json", trace_path], f"replaying {name}")
            trace = read_trace(trace_path, replayer)
            reports, calls = parse_replay(replay_text.splitlines(), trace.calls, name)
            figure = f"{FIGURES}/{name}.png"
            drawn = draw(trace, reports, calls, title=name, width=FIGURE_INCHES)
            drawn.savefig(os.path.join(ROOT, figure), dpi=PNG_DPI)
            plt.close(drawn)
            shrink_png(os.path.join(ROOT, figure))
            table, minutes = report_table(trace, reports)
            sections += [
                f"## {name}", "",
                about, "",
                "```sh",
                " ".join(command) + f" > {name}.trace",
                "```", "",
                f"![{name}](real-recordings/{name}.png)", "",
                f"{minutes * 60:.1f} s of trace; what the library reports:", "",
                *table, "",
                seen, "",
            ]
            summary.append(summary_row(name, trace, reports, minutes))
            size = os.path.getsize(os.path.join(ROOT, figure)) // 1024
            print(f"{name}: {len(reports)} reports, figure {size} KB")
    page = HEADER + SUMMARY_HEAD + summary + [""] + sections
    with open(os.path.join(ROOT, DOC), "w") as f:
        f.write("\n".join(page))


HEADER = [
    "# The library on real recordings",
    "",
    "Recordings made on real phones and touch screens by other people (sources and",
    f"licences: [`{DATA}/README.md`](../{DATA}/README.md)), imported with",
    "`quil-import`, replayed with `quil-replay` and drawn with `quil-plot`. None of them was",
    "made for this library: they show how its recognisers behave on real input.",
    "",
    "Each section gives the import command, the figure (signals and touches on one time",
    "axis, every report in the lane of its motion type, host calls below) and the reports",
    "per motion type per minute, with each kind of outcome in the order it first happens.",
    "The touch screens are landscape panels: they are turned onto the portrait display",
    "with `--rotate 90`, as `quil-import` suggests when it is left out; which way round the",
    "devices were held, the recordings do not say. `scripts/plot-recordings.py` regenerates",
    "this page and its figures after a build; it is generated, so edit the script, not the",
    "page.",
    "",
]


if __name__ == "__main__":
    main()
