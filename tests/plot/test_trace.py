import pytest

from conftest import needs_replay
from quil_plot.trace import TraceError

pytestmark = needs_replay


class TestTimes:
    def test_records_without_a_stamp_happen_with_the_record_before(self, trace_of):
        trace = trace_of("enable 3\n@100 acc 1 2 3\nacc 4 5 6\n@250 disable 3\n")
        assert trace.stamped
        assert [c.t for c in trace.calls] == [0.0, 250.0]
        assert [s.t for s in trace.acc] == [100.0, 100.0]
        assert trace.end == 250.0

    def test_a_trace_without_stamps_is_timed_by_record_number(self, trace_of):
        trace = trace_of("# header\nenable 6\n\nfail SetBatch 1\nacc 0 0 9.8\ndisable 6\n")
        assert not trace.stamped
        assert [c.t for c in trace.calls] == [0.0, 3.0]
        assert trace.acc[0].t == 2.0


class TestSignals:
    def test_sensor_records_land_in_their_signal(self, trace_of):
        trace = trace_of(
            "@0 acc 0.1 -0.2 9.8\n@1 sensor 1 7\n@2 sensor 5 40\n@3 sensor 12 0 9\n"
            "@4 sensor 99 1\n@5 light nan\n@6 prox inf\n@7 null-event\n")
        assert [s.values for s in trace.acc] == [(0.1, -0.2, 9.8), (7.0, 0.0, 0.0)]
        assert [s.values[0] for s in trace.light][0] == 40.0
        assert [s.values[0] for s in trace.prox][0] == 0.0
        assert trace.prox[1].values[0] == float("inf")

    def test_touches_are_grouped_by_finger_in_order(self, trace_of):
        trace = trace_of(
            "@0 touch down 0 10 20 0\n@5 touch down 1 30 40 0,1\n@9 touch move 0 11 22 0,1\n"
            "@12 touch 4 1 30 41 0,1\n@14 touch-noitem move 0 0\n@20 touch up 0 12 23 -\n")
        fingers = trace.fingers()
        assert list(fingers) == [0, 1]
        assert [(p.action, p.x, p.y) for p in fingers[0]] == [(2, 10, 20), (3, 11, 22), (4, 12, 23)]
        assert [p.action for p in fingers[1]] == [2, 4]

    def test_heading_is_the_leading_comment_block(self, trace_of):
        trace = trace_of("# flip: face up,\n#   then face down\n\n# not this\nenable 3\n")
        assert trace.title == "flip: face up, then face down"

    def test_device_records_are_labelled_as_written(self, trace_of):
        trace = trace_of(
            "device-sensors 1,12\nfail ActivateSensor 12\nheal ActivateSensor 12\n"
            "fail GetAllSensors\nmonitor-id -2\nhost-return 1\ndevice-sensors -\n")
        assert [text for _, text in trace.device] == [
            "device-sensors 1,12", "fail ActivateSensor 12", "heal ActivateSensor 12",
            "fail GetAllSensors", "monitor-id -2", "host-return 1", "device-sensors -"]


class TestOneReading:
    """quil-plot draws what quil-replay plays: bytes that other line splitters take for
    line breaks are none, and a trace quil-replay refuses is refused with its message."""

    @pytest.mark.parametrize("breaker", ["\f", "\x1c", "\x1d", "\x1e", "\x85", "\u2028", "\u2029",
                                         "\v", "\r"])
    def test_only_a_newline_ends_a_line(self, trace_of, breaker):
        trace = trace_of(f"# drawn{breaker}acc 9 9 9\nenable 3 # note{breaker}@5 acc 1 1 1\n"
                         "@10 acc 0 0 9.8\n")
        assert [s.values for s in trace.acc] == [(0.0, 0.0, 9.8)]
        assert [c.name for c in trace.calls] == ["enable"]

    def test_a_line_quil_replay_refuses_is_refused_with_its_words(self, trace_of):
        with pytest.raises(TraceError) as caught:
            trace_of("# ok\nidle\nacc 1 2\fx 3\n", "bad.trace")
        assert "bad.trace:3: '2\\x0cx' is not a number" in str(caught.value)
        assert caught.value.exit_code == 2
