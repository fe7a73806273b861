import stat

import pytest

from conftest import needs_replay
from quil_plot.replay import ReplayError, find_replay, parse_replay


@needs_replay
class TestParse:
    def test_reports_and_calls_with_their_times(self, trace_of):
        calls = trace_of("enable 3\n@100 acc 0 0 9.8\n@300 idle\n@400 disable 3\n").calls
        lines = [
            '{"call":"enable","arg":3,"result":0}',
            '{"t":200,"report":{"type":3,"result":1,"status":-1,"action":-1,'
            '"direction":-1,"rotateAction":-1,"move":0.0}}',
            '{"t":300,"call":"idle","result":false}',
            '{"t":400,"call":"disable","arg":3,"result":-1}',
        ]
        reports, results = parse_replay(lines, calls)
        assert [(r.t, r.type, r.result) for r in reports] == [(200.0, 3, 1)]
        assert [(c.t, c.name, c.arg, c.result, c.failed) for c in results] == [
            (0.0, "enable", 3, 0, False),
            (300.0, "idle", None, False, False),
            (400.0, "disable", 3, -1, True),
        ]

    def test_unstamped_lines_take_their_times_from_the_trace_and_the_line_before(self, trace_of):
        calls = trace_of("@0 idle\n@50 acc 1 1 1\nenable 12\n").calls
        lines = [
            '{"t":0,"call":"idle","result":true}',
            '{"call":"enable","arg":12,"result":0}',
            '{"report":{"type":12,"result":1,"status":1,"action":0,"direction":-1,'
            '"rotateAction":-1,"move":null}}',
        ]
        reports, results = parse_replay(lines, calls)
        assert results[1].t == 50.0
        assert reports[0].t == 50.0 and reports[0].move != reports[0].move  # NaN

    @pytest.mark.parametrize(
        "line, problem",
        [
            ("not json", "not a JSON object"),
            ("[1]", "not a JSON object"),
            ('{"t":1}', "neither a call nor a report"),
            ('{"report":{"type":"3"}}', "'type' must be an integer"),
            ('{"report":{"type":3,"result":1,"status":1,"action":1,"direction":1,'
             '"rotateAction":1,"move":"x"}}', "'move' must be a number"),
            ('{"t":-4,"report":{}}', "'t' must be a non-negative number"),
            ('{"call":"idle"}', "a call needs a name and a result"),
        ],
    )
    def test_bad_lines_name_the_source_and_line(self, line, problem):
        with pytest.raises(ReplayError) as caught:
            parse_replay(["", line], [], "run.jsonl")
        assert str(caught.value).startswith("run.jsonl:2: ")
        assert problem in str(caught.value)
        assert caught.value.exit_code == 2

    def test_the_replay_of_another_trace_is_refused(self, trace_of):
        with pytest.raises(ReplayError, match="has 0 host calls but the trace has 1"):
            parse_replay([], trace_of("enable 3\n").calls)


def executable(path):
    path.write_text("#!/bin/sh\n")
    path.chmod(path.stat().st_mode | stat.S_IXUSR)
    return str(path)


class TestFind:
    def test_option_then_setting_then_beside_then_path(self, tmp_path, monkeypatch):
        option = executable(tmp_path / "mine")
        setting = executable(tmp_path / "env-replay")
        build = tmp_path / "build"
        build.mkdir()
        beside = executable(build / "quil-replay")
        bin_dir = tmp_path / "bin"
        bin_dir.mkdir()
        on_path = executable(bin_dir / "quil-replay")
        monkeypatch.setenv("PATH", str(bin_dir))
        monkeypatch.setenv("QUIL_REPLAY", setting)
        sources = tmp_path / "src-build"
        sources.mkdir()
        in_sources = executable(sources / "quil-replay")
        assert find_replay(option, str(build), str(sources)) == option
        assert find_replay(None, str(build), str(sources)) == setting
        monkeypatch.delenv("QUIL_REPLAY")
        assert find_replay(None, str(build), str(sources)) == beside
        assert find_replay(None, str(tmp_path), str(sources)) == in_sources
        assert find_replay(None, str(tmp_path), str(tmp_path)) == on_path

    def test_missing_replay_is_a_clear_error(self, tmp_path, monkeypatch):
        monkeypatch.setenv("PATH", str(tmp_path))
        monkeypatch.delenv("QUIL_REPLAY", raising=False)
        with pytest.raises(ReplayError, match="cannot find quil-replay"):
            find_replay(None, str(tmp_path), str(tmp_path))
