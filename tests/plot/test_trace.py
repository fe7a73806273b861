import pytest

from quil_plot.trace import TraceError, parse_trace, read_trace


def parse(text, path="t.trace"):
    return parse_trace(text.splitlines(), path)


class TestTimes:
    def test_records_without_a_stamp_happen_with_the_record_before(self):
        trace = parse("enable 3\n@100 acc 1 2 3\nacc 4 5 6\n@250 disable 3\n")
        assert trace.stamped
        assert [c.t for c in trace.calls] == [0.0, 250.0]
        assert [s.t for s in trace.acc] == [100.0, 100.0]
        assert trace.end == 250.0

    def test_a_trace_without_stamps_is_timed_by_record_number(self):
        trace = parse("# header\nenable 6\n\nfail SetBatch 1\nacc 0 0 9.8\ndisable 6\n")
        assert not trace.stamped
        assert [c.t for c in trace.calls] == [0.0, 3.0]
        assert trace.acc[0].t == 2.0

    def test_fractional_stamps_and_crlf(self):
        trace = parse("@0.5 light 3\r\n@1e3 prox 5\r\n")
        assert [s.t for s in trace.light + trace.prox] == [0.5, 1000.0]


class TestSignals:
    def test_sensor_records_land_in_their_signal(self):
        trace = parse(
            "@0 acc 0.1 -0.2 9.8\n@1 sensor 1 7\n@2 sensor 5 40\n@3 sensor 12 0 9\n"
            "@4 sensor 99 1\n@5 light nan\n@6 prox inf\n@7 null-event\n"
        )
        assert [s.values for s in trace.acc] == [(0.1, -0.2, 9.8), (7.0, 0.0, 0.0)]
        assert [s.values[0] for s in trace.light][0] == 40.0
        assert [s.values[0] for s in trace.prox][0] == 0.0
        assert trace.prox[1].values[0] == float("inf")

    def test_touches_are_grouped_by_finger_in_order(self):
        trace = parse(
            "@0 touch down 0 10 20 0\n@5 touch down 1 30 40 0,1\n@9 touch move 0 11 22 0,1\n"
            "@12 touch 4 1 30 41 0,1\n@14 touch-noitem move 0 0\n@20 touch up 0 12 23 -\n"
        )
        fingers = trace.fingers()
        assert list(fingers) == [0, 1]
        assert [(p.action, p.x, p.y) for p in fingers[0]] == [(2, 10, 20), (3, 11, 22), (4, 12, 23)]
        assert [p.action for p in fingers[1]] == [2, 4]

    def test_heading_is_the_leading_comment_block(self):
        trace = parse("# flip: face up,\n#   then face down\n\n# not this\nenable 3\n")
        assert trace.title == "flip: face up, then face down"

    def test_device_records_are_accepted(self):
        trace = parse(
            "device-sensors 1,12\nfail ActivateSensor 12\nheal ActivateSensor 12\n"
            "fail GetAllSensors\nmonitor-id -2\nhost-return 1\ndevice-sensors -\n"
        )
        assert trace.calls == [] and trace.acc == []


class TestErrors:
    @pytest.mark.parametrize(
        "line, problem",
        [
            ("acc 1 2", "acc needs 3 numbers, got 2"),
            ("acc 1 2 x", "must be a number"),
            ("acc 1 2 1e", "must be a number"),
            ("acc 1 2 1_0", "must be a number"),
            ("enable", "enable needs 1 argument"),
            ("enable 3.5", "must be an integer"),
            ("enable 4294967296", "does not fit in 32 bits"),
            ("touch down 0 1 2", "touch needs 5 arguments"),
            ("touch slide 0 1 2 0", "touch action must be an integer"),
            ("touch down 0 1 2 0,x", "id must be an integer"),
            ("fail Frobnicate", "unknown call"),
            ("fail GetAllSensors 1", "takes no sensor id"),
            ("@10", "a time stamp needs a record"),
            ("@-1 idle", "non-negative"),
            ("wobble 3", "unknown record 'wobble'"),
            ("sensor 1", "sensor needs an id"),
        ],
    )
    def test_bad_lines_name_file_line_and_problem(self, line, problem):
        with pytest.raises(TraceError) as caught:
            parse("# ok\nidle\n" + line + "\n", "bad.trace")
        assert str(caught.value).startswith("bad.trace:3: ")
        assert problem in str(caught.value)

    def test_stamps_must_not_go_back(self):
        with pytest.raises(TraceError, match=r"t.trace:2: time stamp 5 is before"):
            parse("@10 idle\n@5 idle\n")

    def test_unreadable_file(self, tmp_path):
        with pytest.raises(TraceError, match="cannot read"):
            read_trace(str(tmp_path / "missing.trace"))
        with pytest.raises(TraceError, match="cannot read"):
            read_trace(str(tmp_path))
