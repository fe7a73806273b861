"""Runs quil-replay on a trace and reads what the host observed (its --json output)."""

import json
import math
import os
import shutil
import subprocess
from dataclasses import dataclass

REPORT_FIELDS = ("type", "result", "status", "action", "direction", "rotateAction")
REPLAY_ENV = "QUIL_REPLAY"


class ReplayError(Exception):
    """quil-replay could not be found or run, or its output is not what it writes."""

    def __init__(self, message, exit_code=1):
        super().__init__(message)
        self.exit_code = exit_code


@dataclass
class Report:
    t: float
    type: int
    result: int
    status: int
    action: int
    direction: int
    rotateAction: int
    move: float


@dataclass
class CallResult:
    t: float
    name: str
    arg: object  # int or None
    result: object  # int, or bool for supported and idle

    @property
    def failed(self):
        if isinstance(self.result, bool):
            return False
        return self.result != 0


SOURCE_BUILD = os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "..", "..", "build")


def find_replay(explicit=None, script_dir=None, source_build=SOURCE_BUILD):
    """The quil-replay to run: the --quil-replay option, else $QUIL_REPLAY, else the
    one beside this program (a build tree), else the one in the source tree's build/
    (when run from the sources), else the first on PATH."""
    if explicit:
        return _usable(explicit, "--quil-replay")
    env = os.environ.get(REPLAY_ENV)
    if env:
        return _usable(env, REPLAY_ENV)
    for folder in (script_dir, source_build):
        candidate = os.path.join(folder, "quil-replay") if folder else ""
        if candidate and os.path.isfile(candidate) and os.access(candidate, os.X_OK):
            return os.path.normpath(candidate)
    found = shutil.which("quil-replay")
    if found:
        return found
    raise ReplayError(
        "cannot find quil-replay: build it (scripts/build.sh), put it on PATH, "
        f"or name it with --quil-replay or {REPLAY_ENV}"
    )


def _usable(path, source):
    if os.path.isfile(path) and os.access(path, os.X_OK):
        return path
    raise ReplayError(f"{source}: '{path}' is not an executable file")


def run_replay(replay, trace_path):
    """Replays the trace and returns its JSON Lines output."""
    try:
        done = subprocess.run(
            [replay, "--json", trace_path],
            stdin=subprocess.DEVNULL,
            stdout=subprocess.PIPE,
            stderr=subprocess.PIPE,
            check=False,
        )
    except OSError as error:
        raise ReplayError(f"cannot run {replay}: {error.strerror or error}") from None
    stderr = done.stderr.decode("utf-8", "replace").strip()
    if done.returncode != 0:
        # quil-replay names the file, line and problem itself; pass that on.
        detail = stderr or f"{replay} exited with status {done.returncode}"
        raise ReplayError(detail, exit_code=2 if done.returncode == 2 else 1)
    return done.stdout.decode("utf-8", "replace").split("\n")


def read_replay_file(path):
    try:
        with open(path, "r", encoding="utf-8", errors="replace") as f:
            return f.read().split("\n")
    except OSError as error:
        raise ReplayError(f"{path}: cannot read: {error.strerror or error}", exit_code=2) from None


def _int_field(obj, key, where):
    value = obj.get(key)
    if isinstance(value, bool) or not isinstance(value, int):
        raise ReplayError(f"{where}: '{key}' must be an integer", exit_code=2)
    return value


def _stamp(obj, where):
    if "t" not in obj:
        return None
    t = obj["t"]
    if isinstance(t, bool) or not isinstance(t, (int, float)) or not math.isfinite(t) or t < 0:
        raise ReplayError(f"{where}: 't' must be a non-negative number", exit_code=2)
    return float(t)


def parse_replay(lines, calls, source="replay output"):
    """Reads quil-replay --json lines into (reports, call results).

    A line without a time stamp came from a record without one. Host calls are matched
    to the trace's host-call records (quil-replay prints exactly one line per call, in
    order), so they take that record's time; a report without a stamp takes the time of
    the line before it.
    """
    reports, results = [], []
    now = 0.0
    call_index = 0
    for number, raw in enumerate(lines, start=1):
        where = f"{source}:{number}"
        if not raw.strip():
            continue
        try:
            obj = json.loads(raw)
        except ValueError:
            raise ReplayError(f"{where}: not a JSON object", exit_code=2) from None
        if not isinstance(obj, dict):
            raise ReplayError(f"{where}: not a JSON object", exit_code=2)
        stamp = _stamp(obj, where)
        if "report" in obj:
            body = obj["report"]
            if not isinstance(body, dict):
                raise ReplayError(f"{where}: 'report' must be an object", exit_code=2)
            ints = [_int_field(body, key, where) for key in REPORT_FIELDS]
            move = body.get("move", 0.0)
            if move is None:  # non-finite moves are written as null
                move = math.nan
            if isinstance(move, bool) or not isinstance(move, (int, float)):
                raise ReplayError(f"{where}: 'move' must be a number", exit_code=2)
            now = stamp if stamp is not None else now
            reports.append(Report(now, *ints, float(move)))
        elif "call" in obj:
            name = obj["call"]
            result = obj.get("result")
            if not isinstance(name, str) or not isinstance(result, (bool, int)):
                raise ReplayError(f"{where}: a call needs a name and a result", exit_code=2)
            arg = obj.get("arg")
            if arg is not None and (isinstance(arg, bool) or not isinstance(arg, int)):
                raise ReplayError(f"{where}: 'arg' must be an integer", exit_code=2)
            if stamp is None and call_index < len(calls):
                stamp = calls[call_index].t
            call_index += 1
            now = stamp if stamp is not None else now
            results.append(CallResult(now, name, arg, result))
        else:
            raise ReplayError(f"{where}: neither a call nor a report", exit_code=2)
    if call_index != len(calls):
        raise ReplayError(
            f"{source} has {call_index} host calls but the trace has {len(calls)}: "
            "is it the replay of this trace?",
            exit_code=2,
        )
    return reports, results
