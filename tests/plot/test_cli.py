"""quil-plot as a user runs it: files written, reports drawn, errors without tracebacks."""

import os
import subprocess

import pytest

from conftest import ROOT, TOOL_DIR, needs_replay, replay_program

SCRIPT = os.path.join(TOOL_DIR, "quil-plot")
PYTHON = "/usr/bin/python3"
EXAMPLES = os.path.join(ROOT, "examples")
FLIP = os.path.join(EXAMPLES, "flip.trace")

pytestmark = needs_replay


def run(*args, replay=None, cwd=None):
    env = dict(os.environ, PYTHONDONTWRITEBYTECODE="1")
    env.pop("QUIL_REPLAY", None)
    if replay:
        env["QUIL_REPLAY"] = replay
    return subprocess.run([PYTHON, SCRIPT, *args], capture_output=True, text=True, env=env,
                          cwd=cwd, timeout=120)


@pytest.mark.parametrize("trace, name, magic", [
    ("flip.trace", "flip.png", b"\x89PNG"),
    ("pinch_open.trace", "pinch.svg", b"<?xml"),
])
def test_writes_the_format_its_name_asks_for(tmp_path, trace, name, magic):
    out = tmp_path / name
    done = run(os.path.join(EXAMPLES, trace), "-o", str(out), replay=replay_program())
    assert done.returncode == 0, done.stderr
    assert out.read_bytes().startswith(magic)
    # It takes seconds: each step is told, and where the figure went.
    steps = [line.split(" ")[1] for line in done.stderr.splitlines()]
    assert steps == ["reading", "replaying", "drawing", "wrote"]
    assert f"quil-plot: wrote {out} (" in done.stderr


def test_default_output_is_the_trace_name_in_the_current_directory(tmp_path):
    done = run(os.path.join(EXAMPLES, "shake.trace"), replay=replay_program(), cwd=tmp_path)
    assert done.returncode == 0, done.stderr
    assert (tmp_path / "shake.png").stat().st_size > 1000


def test_reads_the_reports_from_a_saved_replay(tmp_path):
    # The trace flips nothing: the report shown comes from the saved file.
    trace = tmp_path / "flip.trace"
    trace.write_text("enable 3\n@0 acc 0 0 9.8\n@100 acc 0 0 9.8\n")
    saved = tmp_path / "flip.jsonl"
    saved.write_text('{"call":"enable","arg":3,"result":0}\n'
                     '{"t":100,"report":{"type":3,"result":1,"status":-1,"action":-1,'
                     '"direction":-1,"rotateAction":-1,"move":0.0}}\n')
    out = tmp_path / "flip.svg"
    done = run(str(trace), "--replay", str(saved), "-o", str(out), replay=replay_program())
    assert done.returncode == 0, done.stderr
    assert "flipped (1)" in out.read_text()


# Arguments ({tmp} the test's directory), exit status and what the message says.
@pytest.mark.parametrize("args, code, fragment", [
    (["{tmp}/bad.trace"], 2, "bad.trace:2: acc needs 3 numbers, got 2"),
    (["{tmp}/none.trace"], 2, "none.trace: cannot be read"),
    ([FLIP, "-o", "{tmp}/x.jpg"], 2, "must end in .png or .svg"),
    ([FLIP, "--replay", "{tmp}/bad.jsonl"], 2, "bad.jsonl:1: not a JSON object"),
    ([FLIP, "--quil-replay", "/bin/false"], 1, "exited with status 1"),
    ([FLIP, "--quil-replay", "{tmp}/missing"], 1, "is not an executable file"),
    ([FLIP, "--replay", "{tmp}/good.jsonl", "-o", "{tmp}/no-dir/x.png"], 1, "cannot write"),
    ([], 2, "usage:"),
])
def test_errors_are_told_without_a_traceback_and_draw_nothing(tmp_path, args, code, fragment):
    (tmp_path / "bad.trace").write_text("enable 3\n@0 acc 1 2\n")
    (tmp_path / "bad.jsonl").write_text("{not json\n")
    (tmp_path / "good.jsonl").write_text('{"call":"enable","arg":3,"result":0}\n')
    args = [arg.format(tmp=tmp_path) for arg in args]
    out = tmp_path / "x.png"
    done = run(*args, *([] if "-o" in args or not args else ["-o", str(out)]),
               replay=replay_program())
    assert done.returncode == code, done.stderr
    assert "Traceback" not in done.stderr
    assert done.stderr.startswith("quil-plot: ") or "usage:" in done.stderr
    assert fragment in done.stderr
    assert not out.exists()
