"""quil-plot as a user runs it: files written, reports drawn, errors without tracebacks."""

import os
import subprocess

import pytest

from conftest import ROOT, TOOL_DIR, replay_program

SCRIPT = os.path.join(TOOL_DIR, "quil-plot")
PYTHON = "/usr/bin/python3"
EXAMPLES = os.path.join(ROOT, "examples")


needs_replay = pytest.mark.skipif(replay_program() is None, reason="quil-replay is not built")


def run(*args, replay=None):
    env = dict(os.environ, PYTHONDONTWRITEBYTECODE="1")
    env.pop("QUIL_REPLAY", None)
    if replay:
        env["QUIL_REPLAY"] = replay
    return subprocess.run([PYTHON, SCRIPT, *args], capture_output=True, text=True, env=env,
                          timeout=120)


def assert_clean_error(done, code, *fragments):
    assert done.returncode == code, done.stderr
    assert "Traceback" not in done.stderr
    assert done.stderr.startswith("quil-plot: ") or "usage:" in done.stderr
    for fragment in fragments:
        assert fragment in done.stderr


@needs_replay
class TestFiles:
    @pytest.mark.parametrize("trace, name, magic", [
        ("flip.trace", "flip.png", b"\x89PNG"),
        ("pinch_open.trace", "pinch.svg", b"<?xml"),
    ])
    def test_writes_the_format_its_name_asks_for(self, tmp_path, trace, name, magic):
        out = tmp_path / name
        done = run(os.path.join(EXAMPLES, trace), "-o", str(out), replay=replay_program())
        assert done.returncode == 0, done.stderr
        assert out.read_bytes().startswith(magic)
        # It takes seconds: each step is told, and where the figure went.
        steps = [line.split(" ")[1] for line in done.stderr.splitlines()]
        assert steps == ["reading", "replaying", "drawing", "wrote"]
        assert f"quil-plot: wrote {out} (" in done.stderr

    def test_default_output_is_the_trace_name_in_the_current_directory(self, tmp_path):
        env = dict(os.environ, QUIL_REPLAY=replay_program(), PYTHONDONTWRITEBYTECODE="1")
        done = subprocess.run([PYTHON, SCRIPT, os.path.join(EXAMPLES, "shake.trace")],
                              cwd=tmp_path, capture_output=True, text=True, env=env, timeout=120)
        assert done.returncode == 0, done.stderr
        assert (tmp_path / "shake.png").stat().st_size > 1000

    def test_a_failing_replay_is_reported_not_drawn(self, tmp_path):
        trace = tmp_path / "late.trace"
        trace.write_text("enable 3\n@0 acc 0 0 9.8\n")
        done = run(str(trace), "--quil-replay", "/bin/false", "-o", str(tmp_path / "x.png"))
        assert_clean_error(done, 1, "exited with status 1")
        assert not (tmp_path / "x.png").exists()


@needs_replay
class TestSavedReplay:
    def test_reads_the_reports_from_a_saved_replay(self, tmp_path):
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
        svg = out.read_text()
        assert "flipped (1)" in svg


@needs_replay
class TestErrors:
    def test_bad_trace_line(self, tmp_path):
        trace = tmp_path / "bad.trace"
        trace.write_text("enable 3\n@0 acc 1 2\n")
        done = run(str(trace), "-o", str(tmp_path / "x.png"), replay=replay_program())
        assert_clean_error(done, 2, "bad.trace:2: acc needs 3 numbers, got 2")
        assert not (tmp_path / "x.png").exists()

    def test_missing_trace(self, tmp_path):
        done = run(str(tmp_path / "none.trace"), "-o", str(tmp_path / "x.png"),
                   replay=replay_program())
        assert_clean_error(done, 2, "none.trace: cannot be read")

    def test_unknown_output_format(self, tmp_path):
        done = run(os.path.join(EXAMPLES, "flip.trace"), "-o", str(tmp_path / "x.jpg"))
        assert_clean_error(done, 2, "must end in .png or .svg")

    def test_bad_saved_replay(self, tmp_path):
        saved = tmp_path / "r.jsonl"
        saved.write_text("{not json\n")
        done = run(os.path.join(EXAMPLES, "flip.trace"), "--replay", str(saved),
                   "-o", str(tmp_path / "x.png"), replay=replay_program())
        assert_clean_error(done, 2, "r.jsonl:1: not a JSON object")

    def test_no_quil_replay_to_be_found(self, tmp_path):
        done = run(os.path.join(EXAMPLES, "flip.trace"), "-o", str(tmp_path / "x.png"),
                   "--quil-replay", str(tmp_path / "missing"))
        assert_clean_error(done, 1, "is not an executable file")

    def test_unwritable_output(self, tmp_path):
        saved = tmp_path / "r.jsonl"
        saved.write_text('{"call":"enable","arg":3,"result":0}\n')
        done = run(os.path.join(EXAMPLES, "flip.trace"), "--replay", str(saved),
                   "-o", str(tmp_path / "no-dir" / "x.png"), replay=replay_program())
        assert_clean_error(done, 1, "cannot write")

    def test_usage(self):
        assert_clean_error(run(), 2, "usage:")
