"""What each report and host call looks like in a figure: lane, colour, label, span.

Pure data, no drawing, so the choices can be checked without looking at pixels.
"""

import math
from dataclasses import dataclass

GESTURE_TYPES = (9, 10, 11, 12, 13)

# Per motion type: short name and a colour that stays the same in every figure.
TYPE_NAMES = {
    0: "pick-up",
    2: "near ear",
    3: "flip",
    4: "rotation",
    6: "shake",
    7: "pocket",
    9: "swipe from right",
    10: "swipe from left",
    11: "swipe from bottom",
    12: "pinch",
    13: "3-finger slide",
}
TYPE_COLOURS = {
    0: "#1f77b4",
    2: "#9467bd",
    3: "#d62728",
    4: "#2ca02c",
    6: "#ff7f0e",
    7: "#8c564b",
    9: "#c2185b",
    10: "#00838f",
    11: "#827717",
    12: "#00695c",
    13: "#393b79",
}
OTHER_COLOUR = "#000000"

# The device motions' result codes, in words.
RESULT_WORDS = {
    0: {1: "picked up", 0: "pick-up left"},
    2: {1: "at ear", 0: "away"},
    3: {1: "flipped", 0: "flip left"},
    6: {1: "shaking", 0: "calm"},
    7: {1: "in pocket", 0: "not in pocket"},
}
ROTATIONS = {0: "upright", 1: "turned right", 2: "upside down", 3: "turned left"}
# Gesture direction codes; y grows downward on the display.
ARROWS = {0: "\u2191", 1: "\u2190", 2: "\u2193", 3: "\u2192"}
PINCH_ACTIONS = {0: "open", 1: "close"}
STATUS_END = 3
# Device motions whose result 1 holds until a report with another result.
HELD_TYPES = (0, 2, 3, 6, 7)


def type_name(motion_type):
    return TYPE_NAMES.get(motion_type, f"type {motion_type}")


def type_colour(motion_type):
    return TYPE_COLOURS.get(motion_type, OTHER_COLOUR)


def lane_label(motion_type):
    return f"{type_name(motion_type)} ({motion_type})"


@dataclass
class Mark:
    """One report as drawn: a marker at t in the lane of its type, with a label."""

    t: float
    type: int
    label: str
    colour: str
    finish: bool = False


@dataclass
class Span:
    """A gesture from its start report to its finishing report, or a held device motion
    (picked up, at the ear, ...) from its result 1 to the next report; unfinished ones
    run to the trace's end."""

    start: float
    end: float
    type: int
    colour: str
    finished: bool

    @property
    def gesture(self):
        return self.type in GESTURE_TYPES


def _amount(report):
    if not math.isfinite(report.move):
        return str(report.move)
    if report.type == 12:
        return "\u00d7" + f"{report.move:.3f}".rstrip("0").rstrip(".")
    return f"{report.move:.0f} px"


def _direction(report):
    arrow = ARROWS.get(report.direction)
    return f"{arrow} ({report.direction})" if arrow else f"dir {report.direction}"


def report_label(report, first_of_gesture=True):
    """The text next to a report's marker: what it says, with its code."""
    kind = report.type
    if kind == 4:
        word = ROTATIONS.get(report.rotateAction, "rotation")
        return f"{word} ({report.rotateAction})"
    if kind in RESULT_WORDS:
        word = RESULT_WORDS[kind].get(report.result, "result")
        return f"{word} ({report.result})"
    if kind in GESTURE_TYPES:
        if report.status == STATUS_END:
            return f"end {_amount(report)}"
        if kind == 12:
            action = PINCH_ACTIONS.get(report.action, f"action {report.action}")
            head = f"{action} ({report.action}) " if first_of_gesture else ""
            return head + _amount(report)
        if first_of_gesture:
            # A slide starts with no travel yet; only its direction says anything.
            if report.move == 0:
                return _direction(report)
            return f"{_direction(report)} {_amount(report)}"
        return _amount(report)
    return f"result {report.result}"


def build_marks(reports, end_time):
    """Turns the replay's reports into markers (all of them) and spans."""
    marks, spans = [], []
    opened = {}  # type -> start time of its gesture or held motion
    for report in reports:
        kind = report.type
        first = True
        if kind in GESTURE_TYPES:
            first = kind not in opened
            opened.setdefault(kind, report.t)
            if report.status == STATUS_END:
                spans.append(Span(opened.pop(kind), report.t, kind, type_colour(kind), True))
        elif kind in HELD_TYPES:
            if kind in opened and report.result != 1:
                spans.append(Span(opened.pop(kind), report.t, kind, type_colour(kind), True))
            elif report.result == 1:
                opened.setdefault(kind, report.t)
        marks.append(
            Mark(report.t, kind, report_label(report, first), type_colour(kind),
                 finish=report.status == STATUS_END)
        )
    for kind, start in opened.items():
        spans.append(Span(start, max(end_time, start), kind, type_colour(kind), False))
    spans.sort(key=lambda span: span.start)
    return marks, spans


def lanes(reports, calls):
    """Motion types in the order their lanes are drawn: enabled or reported, by id."""
    types = {report.type for report in reports}
    types.update(c.arg for c in calls if c.name == "enable" and c.arg is not None)
    return sorted(types)


CALL_SHORT = {"enable": "+", "disable": "\u2212", "disable-count": "\u2212#", "supported": "?"}


def call_label(call):
    """Host calls in short: +3 enable, \u22123 disable, ?3 supported; failures marked."""
    if call.name in CALL_SHORT:
        text = f"{CALL_SHORT[call.name]}{call.arg}"
    else:
        text = call.name
    if isinstance(call.result, bool):
        return f"{text}={'T' if call.result else 'F'}"
    if call.result != 0:
        return f"{text}\u2717{call.result}"
    return text


def group_calls(calls):
    """Host calls that happen at one instant become one tick: [(t, [labels], failed)]."""
    groups = []
    for call in calls:
        if groups and groups[-1][0] == call.t:
            groups[-1][1].append(call_label(call))
            groups[-1][2] = groups[-1][2] or call.failed
        else:
            groups.append([call.t, [call_label(call)], call.failed])
    return [tuple(group) for group in groups]


def stagger(positions, widths, levels=3):
    """Picks a text row for each label so that neighbours do not overlap.

    positions and widths are in the same unit (labels start at their position). A label
    goes to the lowest row whose previous label has ended; when every row is still taken
    it gets None and is left out (its marker still shows), so dense stretches stay legible.
    """
    ends = [-math.inf] * levels
    rows = []
    for x, width in zip(positions, widths):
        row = next((i for i, end in enumerate(ends) if end <= x), None)
        if row is not None:
            ends[row] = x + width
        rows.append(row)
    return rows
