import pytest

from quil_plot.marks import build_marks, call_label, group_calls, lanes, report_label, stagger
from quil_plot.replay import CallResult, Report


def report(t, type_, result=1, status=-1, action=-1, direction=-1, rotate=-1, move=0.0):
    return Report(t, type_, result, status, action, direction, rotate, move)


@pytest.mark.parametrize("data, label", [
    (report(0, 3, result=1), "flipped (1)"),
    (report(0, 3, result=0), "flip left (0)"),
    (report(0, 7, result=1), "in pocket (1)"),
    (report(0, 6, result=0), "calm (0)"),
    (report(0, 2, result=5), "result (5)"),
    (report(0, 4, rotate=3), "turned left (3)"),  # rotation by its rotate code
    (report(0, 4, rotate=2), "upside down (2)"),
    (report(0, 42, result=7), "result 7"),  # an unknown type
    (report(0, 13, 1, 1, direction=0, move=0.0), "\u2191 (0)"),  # a slide: its direction
])
def test_report_labels_say_the_result_in_words_with_its_code(data, label):
    assert report_label(data) == label


class TestDeviceMotionSpans:
    def test_a_held_motion_spans_from_its_result_1_to_the_next_report(self):
        reports = [report(0, 7, result=0), report(100, 7, result=1), report(300, 7, result=0),
                   report(400, 6, result=1)]
        marks, spans = build_marks(reports, 500)
        assert [(m.t, m.label) for m in marks][:3] == [
            (0, "not in pocket (0)"), (100, "in pocket (1)"), (300, "not in pocket (0)")]
        assert [(s.type, s.start, s.end, s.finished, s.gesture) for s in spans] == [
            (7, 100, 300, True, False), (6, 400, 500, False, False)]

    def test_rotations_are_markers_only(self):
        _, spans = build_marks([report(0, 4, rotate=0), report(9, 4, rotate=1)], 20)
        assert spans == []


class TestGestures:
    def test_swipe_start_and_finish_make_one_span(self):
        reports = [
            report(32, 10, 1, 1, direction=3, move=120.0),
            report(48, 10, 2, 3, direction=3, move=160.0),
        ]
        marks, spans = build_marks(reports, 100)
        assert [m.label for m in marks] == ["\u2192 (3) 120 px", "end 160 px"]
        assert [m.finish for m in marks] == [False, True]
        assert [(s.start, s.end, s.type, s.finished) for s in spans] == [(32, 48, 10, True)]

    def test_pinch_steps_carry_the_scale_and_only_the_first_the_action(self):
        reports = [
            report(122, 12, 1, 1, action=0, move=2.525),
            report(126, 12, 1, 1, action=0, move=2.69),
            report(264, 12, 2, 3, action=0, move=4.34),
        ]
        marks, spans = build_marks(reports, 300)
        assert [m.label for m in marks] == ["open (0) \u00d72.525", "\u00d72.69", "end \u00d74.34"]
        assert len(spans) == 1 and spans[0].start == 122 and spans[0].end == 264

    def test_gestures_of_two_types_are_tracked_apart(self):
        reports = [
            report(0, 12, 1, 1, action=1, move=0.8),
            report(5, 13, 1, 1, direction=2),
            report(9, 12, 2, 3, action=1, move=0.5),
            report(20, 13, 2, 3, direction=2, move=300.0),
        ]
        _, spans = build_marks(reports, 30)
        assert [(s.type, s.start, s.end) for s in spans] == [(12, 0, 9), (13, 5, 20)]


class TestLanesAndCalls:
    def test_a_lane_for_every_enabled_or_reported_type(self):
        calls = [CallResult(0, "enable", 7, 0), CallResult(0, "supported", 2, True),
                 CallResult(1, "enable", 3, -1)]
        assert lanes([report(0, 12)], calls) == [3, 7, 12]

    def test_call_labels_show_failures_and_answers(self):
        assert call_label(CallResult(0, "enable", 3, 0)) == "+3"
        assert call_label(CallResult(0, "disable", 3, -1)) == "\u22123\u2717-1"
        assert call_label(CallResult(0, "idle", None, False)) == "idle=F"
        assert call_label(CallResult(0, "supported", 8, False)) == "?8=F"
        assert call_label(CallResult(0, "register", None, 0)) == "register"

    def test_calls_at_one_instant_share_a_tick(self):
        calls = [CallResult(0, "enable", 9, -1), CallResult(0, "idle", None, True),
                 CallResult(80, "disable", 9, 0)]
        assert group_calls(calls) == [(0, ["+9\u2717-1", "idle=T"], True), (80, ["\u22129"], False)]


class TestStagger:
    def test_labels_that_would_overlap_take_other_rows(self):
        assert stagger([0, 1, 2, 50], [10, 10, 10, 10]) == [0, 1, 2, 0]

    def test_a_label_with_no_free_row_is_left_out(self):
        assert stagger([0, 1, 2, 3, 40], [10, 10, 10, 10, 5], levels=2) == [0, 1, None, None, 0]
