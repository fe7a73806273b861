import os
import sys

import pytest

HERE = os.path.dirname(os.path.abspath(__file__))
ROOT = os.path.dirname(os.path.dirname(HERE))
TOOL_DIR = os.path.join(ROOT, "tools", "quil_plot")
sys.path.insert(0, TOOL_DIR)


def replay_program():
    """The quil-replay the tests run: $QUIL_REPLAY (set by ctest), else build/quil-replay."""
    path = os.environ.get("QUIL_REPLAY") or os.path.join(ROOT, "build", "quil-replay")
    return path if os.access(path, os.X_OK) else None


needs_replay = pytest.mark.skipif(replay_program() is None, reason="quil-replay is not built")


@pytest.fixture
def trace_of(tmp_path):
    """Reads a trace `text` (str or bytes) as quil-plot does, through quil-replay."""
    from quil_plot.trace import read_trace

    def read(text, name="t.trace"):
        path = tmp_path / name
        path.write_bytes(text.encode("utf-8") if isinstance(text, str) else text)
        return read_trace(str(path), replay_program())

    return read
