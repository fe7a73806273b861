"""Reads a motion trace into the signals a figure draws.

quil-replay is the one reader of the trace format: quil-plot asks it for the records
it reads (quil-replay --records) and draws exactly those, so a trace plots as it plays,
and a trace quil-replay refuses is refused here with its message (file, line, problem).
"""

import json
import math
import subprocess
from dataclasses import dataclass, field

ACC_SENSOR = 1
LIGHT_SENSOR = 5
PROX_SENSOR = 12

ACTION_DOWN, ACTION_MOVE, ACTION_UP = 2, 3, 4

# What quil-import writes in a trace's header when the touch axes were guessed.
GUESSED_AXES = "touch axes guessed"

HOST_CALLS = {"enable", "disable", "disable-count", "supported", "idle", "register", "unregister"}
DEVICE_RECORDS = {"device-sensors", "fail", "heal", "monitor-id", "host-return"}


class TraceError(Exception):
    """A trace that cannot be read; the message names file and line."""

    def __init__(self, message, exit_code=2):
        super().__init__(message)
        self.exit_code = exit_code


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

    @property
    def guessed_axes(self):
        """quil-import says so in the header when it scaled touches from the largest
        values seen instead of the panel's axis ranges."""
        return GUESSED_AXES in self.title

    def fingers(self):
        """Touch points grouped by finger id, in order of the finger's first touch."""
        tracks = {}
        for point in self.touches:
            tracks.setdefault(point.finger, []).append(point)
        return tracks


def read_trace(path, replay):
    """Reads the trace at path through quil-replay; raises TraceError when it cannot."""
    try:
        done = subprocess.run(
            [replay, "--records", path],
            stdin=subprocess.DEVNULL,
            stdout=subprocess.PIPE,
            stderr=subprocess.PIPE,
            check=False,
        )
    except OSError as error:
        raise TraceError(f"cannot run {replay}: {error.strerror or error}", 1) from None
    if done.returncode != 0:
        detail = done.stderr.decode("utf-8", "replace").strip()
        raise TraceError(detail or f"{replay} exited with status {done.returncode}",
                         2 if done.returncode == 2 else 1)
    return parse_records(done.stdout.decode("utf-8", "replace").split("\n"), path)


def _number(value):
    """A sample value: a JSON number, or "nan", "inf" or "-inf"."""
    return float(value)


def parse_records(lines, path="-"):
    """Builds the figure's signals from quil-replay --records lines."""
    trace = Trace(path=path)
    records = []
    for raw in lines:
        if not raw.strip():
            continue
        obj = json.loads(raw)
        if "heading" in obj:
            trace.title = trace.title or obj["heading"]
            continue
        records.append(obj)
    trace.stamped = any("t" in record for record in records)

    # Without any stamp the records are spread evenly; otherwise a record without one
    # happens when the one before it did.
    now = 0.0
    for index, record in enumerate(records):
        if not trace.stamped:
            now = float(index)
        elif "t" in record:
            now = float(record["t"])
        _read_record(trace, now, record)
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


def _device_text(record):
    """A device record as it reads in a trace, for its label."""
    kind = record["record"]
    if kind == "device-sensors":
        ids = record["ids"]
        return f"{kind} " + (",".join(str(i) for i in ids) if ids else "-")
    if kind in ("fail", "heal"):
        sensor = record.get("sensor")
        return f"{kind} {record['call']}" + (f" {sensor}" if sensor is not None else "")
    return f"{kind} {record['value']}"


def _read_record(trace, t, record):
    kind = record["record"]
    if kind in HOST_CALLS:
        trace.calls.append(HostCall(t, kind, record.get("arg"), record["line"]))
    elif kind == "sample":
        _sensor(trace, t, record["sensor"], [_number(v) for v in record["values"]])
    elif kind == "touch":
        trace.touches.append(
            TouchPoint(t, record["action"], record["id"], record["x"], record["y"]))
    elif kind in DEVICE_RECORDS:
        trace.device.append((t, _device_text(record)))
