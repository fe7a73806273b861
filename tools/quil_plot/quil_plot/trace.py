"""Reads a motion trace into the signals a figure draws.

The trace format is quil-replay's; this reader checks it as strictly as the figure
needs (keywords, argument counts, numbers, time order) so that a broken file gets a
message naming its line instead of a half-drawn figure. quil-replay stays the judge
of everything the library sees.
"""

import math
from dataclasses import dataclass, field

ACC_SENSOR = 1
LIGHT_SENSOR = 5
PROX_SENSOR = 12

TOUCH_ACTIONS = {"down": 2, "move": 3, "up": 4}
ACTION_DOWN, ACTION_MOVE, ACTION_UP = 2, 3, 4

# Host calls and how many integer arguments each takes.
HOST_CALLS = {
    "enable": 1,
    "disable": 1,
    "disable-count": 1,
    "supported": 1,
    "idle": 0,
    "register": 0,
    "unregister": 0,
}
DEVICE_RECORDS = {"device-sensors", "fail", "heal", "monitor-id", "host-return"}
FAULT_CALLS = {
    "GetAllSensors",
    "SubscribeSensor",
    "SetBatch",
    "ActivateSensor",
    "DeactivateSensor",
    "UnsubscribeSensor",
}
INT32_MIN, INT32_MAX = -(2**31), 2**31 - 1


class TraceError(Exception):
    """A trace that cannot be read; the message names file and line."""


@dataclass
class Sample:
    t: float
    values: tuple


@dataclass
class TouchPoint:
    t: float
    action: int
    finger: int
    x: int
    y: int


@dataclass
class HostCall:
    t: float
    name: str
    arg: object  # int, or None for calls without one
    line: int


@dataclass
class Trace:
    path: str
    title: str = ""
    stamped: bool = False  # False: no record has a time stamp; times are record numbers
    acc: list = field(default_factory=list)
    light: list = field(default_factory=list)
    prox: list = field(default_factory=list)
    touches: list = field(default_factory=list)
    calls: list = field(default_factory=list)
    device: list = field(default_factory=list)  # (time, record text) of device records
    end: float = 0.0  # time of the last record

    def fingers(self):
        """Touch points grouped by finger id, in order of the finger's first touch."""
        tracks = {}
        for point in self.touches:
            tracks.setdefault(point.finger, []).append(point)
        return tracks


def _int32(token, what, where):
    try:
        value = int(token, 10)
    except ValueError:
        raise TraceError(f"{where}: {what} must be an integer, got '{token}'") from None
    if not INT32_MIN <= value <= INT32_MAX:
        raise TraceError(f"{where}: {what} {token} does not fit in 32 bits")
    return value


def _float(token, what, where):
    # Python's float() takes what strtof takes, bar underscores and surrounding blanks.
    if "_" in token:
        raise TraceError(f"{where}: {what} must be a number, got '{token}'")
    try:
        if "x" in token.lower() and not token.lower().lstrip("+-").startswith("inf"):
            return float.fromhex(token)
        return float(token)
    except (ValueError, OverflowError):
        raise TraceError(f"{where}: {what} must be a number, got '{token}'") from None


def _id_list(token, where):
    if token == "-":
        return []
    return [_int32(part, "id", where) for part in token.split(",")]


def _expect(args, count, keyword, where, what="arguments"):
    if len(args) != count:
        raise TraceError(f"{where}: {keyword} needs {count} {what}, got {len(args)}")


def _split(raw, where):
    """Returns (stamp or None, keyword, args) of one line, or None for a blank one."""
    text = raw.split("#", 1)[0].strip()
    if not text:
        return None
    tokens = text.split()
    stamp = None
    if tokens[0].startswith("@"):
        stamp = _float(tokens[0][1:], "time stamp", where)
        if not math.isfinite(stamp) or stamp < 0:
            raise TraceError(f"{where}: time stamp must be a non-negative number")
        tokens = tokens[1:]
        if not tokens:
            raise TraceError(f"{where}: a time stamp needs a record")
    return stamp, tokens[0], tokens[1:]


def _heading(lines):
    """The comment block a trace starts with, as one line: what the trace shows."""
    words = []
    for raw in lines:
        text = raw.strip()
        if not text.startswith("#"):
            break
        words.append(text.lstrip("#").strip())
    return " ".join(word for word in words if word)


def read_trace(path):
    """Reads the trace at path; raises TraceError on an unreadable file or line."""
    try:
        with open(path, "r", encoding="utf-8", errors="replace", newline=None) as f:
            lines = f.read().splitlines()
    except (OSError, UnicodeError) as error:
        raise TraceError(f"{path}: cannot read: {error.strerror or error}") from None
    return parse_trace(lines, path)


def parse_trace(lines, path="-"):
    trace = Trace(path=path, title=_heading(lines))
    records = []
    last_stamp = 0.0
    for number, raw in enumerate(lines, start=1):
        where = f"{path}:{number}"
        split = _split(raw, where)
        if split is None:
            continue
        stamp, keyword, args = split
        if stamp is not None:
            if stamp < last_stamp:
                raise TraceError(f"{where}: time stamp {stamp:g} is before the previous one")
            last_stamp = stamp
            trace.stamped = True
        records.append((stamp, keyword, args, where, number))

    # Without any stamp the records are spread evenly; otherwise a record without one
    # happens when the one before it did.
    now = 0.0
    for index, (stamp, keyword, args, where, number) in enumerate(records):
        if not trace.stamped:
            now = float(index)
        elif stamp is not None:
            now = stamp
        _read_record(trace, now, keyword, args, where, number)
        trace.end = now
    return trace


def _sensor(trace, t, sensor, values):
    if sensor == ACC_SENSOR:
        padded = (list(values) + [0.0, 0.0, 0.0])[:3]
        trace.acc.append(Sample(t, tuple(padded)))
    elif sensor == LIGHT_SENSOR:
        trace.light.append(Sample(t, (values[0],)))
    elif sensor == PROX_SENSOR:
        trace.prox.append(Sample(t, (values[0],)))


def _read_record(trace, t, keyword, args, where, number):
    if keyword in HOST_CALLS:
        count = HOST_CALLS[keyword]
        _expect(args, count, keyword, where, "argument" if count == 1 else "arguments")
        arg = _int32(args[0], "type", where) if count else None
        trace.calls.append(HostCall(t, keyword, arg, number))
    elif keyword == "acc":
        _expect(args, 3, keyword, where, "numbers")
        _sensor(trace, t, ACC_SENSOR, [_float(a, "acc value", where) for a in args])
    elif keyword in ("light", "prox"):
        _expect(args, 1, keyword, where, "number")
        sensor = LIGHT_SENSOR if keyword == "light" else PROX_SENSOR
        _sensor(trace, t, sensor, [_float(args[0], f"{keyword} value", where)])
    elif keyword == "sensor":
        if len(args) < 2:
            raise TraceError(f"{where}: sensor needs an id and at least one number")
        sensor = _int32(args[0], "sensor id", where)
        _sensor(trace, t, sensor, [_float(a, "sensor value", where) for a in args[1:]])
    elif keyword == "null-event":
        _expect(args, 0, keyword, where)
    elif keyword == "touch":
        _expect(args, 5, keyword, where)
        action = _touch_action(args[0], where)
        finger = _int32(args[1], "pointer id", where)
        x = _int32(args[2], "x", where)
        y = _int32(args[3], "y", where)
        _id_list(args[4], where)
        trace.touches.append(TouchPoint(t, action, finger, x, y))
    elif keyword == "touch-noitem":
        _expect(args, 3, keyword, where)
        _touch_action(args[0], where)
        _int32(args[1], "pointer id", where)
        _id_list(args[2], where)
    elif keyword in DEVICE_RECORDS:
        _device_record(keyword, args, where)
        trace.device.append((t, " ".join([keyword] + args)))
    else:
        shown = "".join(c if c.isprintable() else "?" for c in keyword)
        raise TraceError(f"{where}: unknown record '{shown}'")


def _touch_action(token, where):
    if token in TOUCH_ACTIONS:
        return TOUCH_ACTIONS[token]
    return _int32(token, "touch action", where)


def _device_record(keyword, args, where):
    if keyword == "device-sensors":
        _expect(args, 1, keyword, where, "argument")
        _id_list(args[0], where)
    elif keyword in ("fail", "heal"):
        if len(args) not in (1, 2):
            raise TraceError(f"{where}: {keyword} needs a call name and an optional sensor id")
        if args[0] not in FAULT_CALLS:
            raise TraceError(f"{where}: {keyword}: unknown call '{args[0]}'")
        if len(args) == 2:
            if args[0] == "GetAllSensors":
                raise TraceError(f"{where}: {keyword} GetAllSensors takes no sensor id")
            _int32(args[1], "sensor id", where)
    else:
        _expect(args, 1, keyword, where, "argument")
        _int32(args[0], "value", where)
