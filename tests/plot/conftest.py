import os
import sys

HERE = os.path.dirname(os.path.abspath(__file__))
ROOT = os.path.dirname(os.path.dirname(HERE))
TOOL_DIR = os.path.join(ROOT, "tools", "quil_plot")
sys.path.insert(0, TOOL_DIR)


def replay_program():
    """The quil-replay the tests run: $QUIL_REPLAY (set by ctest), else build/quil-replay."""
    path = os.environ.get("QUIL_REPLAY") or os.path.join(ROOT, "build", "quil-replay")
    return path if os.access(path, os.X_OK) else None


def trace_of(text, tmp_dir, name="t.trace"):
    """The trace `text` (str or bytes) as quil-plot reads it, through quil-replay."""
    from quil_plot.trace import read_trace

    path = os.path.join(str(tmp_dir), name)
    with open(path, "wb") as f:
        f.write(text.encode("utf-8") if isinstance(text, str) else text)
    return read_trace(path, replay_program())
