"""What the figure shows, read back from the figure itself."""

import io

import pytest

from conftest import needs_replay
from quil_plot.figure import draw, spread
from quil_plot.replay import CallResult, Report


def texts(fig):
    found = [t.get_text() for t in fig.texts]
    for ax in fig.axes:
        found += [t.get_text() for t in ax.texts]
        found += [t.get_text() for t in ax.get_yticklabels()]
        found.append(ax.get_ylabel())
        found.append(ax.get_xlabel())
    return found


pytestmark = needs_replay


@pytest.fixture
def figure_of(trace_of):
    return lambda text, reports, calls: draw(trace_of(text), reports, calls)


class TestPanels:
    def test_sensor_trace_shows_acceleration_light_proximity_and_every_report(self, figure_of):
        fig = figure_of(
            "# pocket\n@0 light 300\n@0 prox 5\n@0 acc 0 0 9.8\n@100 acc 0 0 -9.8\n",
            [Report(0, 7, 0, -1, -1, -1, -1, 0.0), Report(100, 7, 1, -1, -1, -1, -1, 0.0)],
            [CallResult(0, "enable", 7, 0)],
        )
        shown = texts(fig)
        assert "not in pocket (0)" in shown and "in pocket (1)" in shown
        assert "pocket (7)\n2 reports" in shown and "host calls" in shown and "+7" in shown
        assert any(label.startswith("acceleration") for label in shown)
        assert "proximity" in shown and "light" in shown
        assert {"x", "y", "z", "|a|"} <= set(shown)
        assert not any(label.startswith("touch") for label in shown)
        assert "time (ms)" in shown
        assert "device" not in shown

    def test_device_records_get_a_lane_of_their_own(self, figure_of):
        fig = figure_of("fail ActivateSensor 12\nenable 2\n", [], [CallResult(1, "enable", 2, -1)])
        shown = texts(fig)
        assert "device" in shown and "fail ActivateSensor 12" in shown
        assert "+2\u2717-1" in shown

    def test_touch_trace_shows_tracks_and_the_display_panel(self, figure_of):
        fig = figure_of(
            "@0 touch down 0 40 1500 0\n@16 touch move 0 160 1505 0\n@32 touch up 0 160 1505 0\n",
            [Report(16, 10, 1, 1, -1, 3, -1, 120.0), Report(32, 10, 2, 3, -1, 3, -1, 120.0)],
            [],
        )
        shown = texts(fig)
        assert "\u2192 (3) 120 px" in shown and "end 120 px" in shown
        assert any(label.startswith("touch x") for label in shown)
        assert any(label.startswith("touch y") for label in shown)
        assert any("1344\u00d72772" in ax.get_title() for ax in fig.axes)
        assert "acceleration" not in " ".join(shown)
        assert not any("guessed" in text for text in shown + [ax.get_title() for ax in fig.axes])

    def test_touches_scaled_from_guessed_axes_are_marked(self, figure_of):
        fig = figure_of(
            "# x.txt: getevent, X 0..9, Y 0..9 from the largest values seen (touch axes guessed)\n"
            "@0 touch down 0 40 1500 0\n@16 touch up 0 40 1500 0\n", [], [])
        assert texts(fig).count("touch axes guessed (largest values seen)") == 2  # x and y
        assert any("touch axes guessed" in ax.get_title() for ax in fig.axes)

    def test_long_and_unstamped_traces_change_the_time_unit(self, figure_of):
        long = figure_of("@0 acc 0 0 9.8\n@60000 acc 0 0 9.8\n", [], [])
        assert "time (s)" in texts(long)
        unstamped = figure_of("idle\nidle\n", [], [CallResult(0, "idle", None, True),
                                                  CallResult(1, "idle", None, True)])
        shown = texts(unstamped)
        assert any(label.startswith("record number") for label in shown)
        assert "no reports" in shown

    def test_hostile_values_are_drawn_not_crashed_on(self, figure_of, tmp_path):
        fig = figure_of(
            "@0 acc nan inf -inf\n@1 acc 1e38 0 0\n@2 prox nan\n@3 light -inf\n"
            "@4 touch down 0 2147483647 -2147483648 0\n@5 touch up 0 5 5 -\n",
            [Report(5, 99, 7, 7, 7, 7, 7, float("nan"))], [])
        fig.savefig(tmp_path / "x.png")
        assert "result 7" in texts(fig)

    def test_text_from_the_trace_is_never_markup(self, figure_of):
        fig = figure_of("# cost $\\frac{a}{$ here\nenable 3\n", [], [CallResult(0, "enable", 3, 0)])
        assert any("cost $\\frac{a}{$ here" in text for text in texts(fig))
        fig.savefig(io.BytesIO(), format="svg")


class TestTitle:
    def test_the_path_and_leading_comments_on_one_line(self, trace_of):
        trace = trace_of("# " + "word " * 200 + "\nenable 3\n")
        title = draw(trace, [], []).texts[0].get_text()
        assert "\n" not in title
        assert title.startswith(trace.path + " \u2014 word word") and title.endswith("\u2026")
        assert len(title) < 200

    def test_a_long_path_is_cut_to_the_line(self, trace_of):
        trace = trace_of("enable 3\n")
        trace.path = "/" + "d" * 300 + "/x.trace"
        title = draw(trace, [], []).texts[0].get_text()
        assert title.startswith("/ddd") and title.endswith("\u2026") and len(title) < 250

    def test_a_given_title_replaces_them(self, trace_of):
        trace = trace_of("# from the trace\nenable 3\n")
        assert draw(trace, [], [], title="mine").texts[0].get_text() == "mine"


class TestSpread:
    def test_close_labels_are_pushed_apart_in_order(self):
        placed = spread([0.5, 0.52, 0.1], 0.1)
        assert placed[2] == 0.1 and placed[1] - placed[0] >= 0.1 - 1e-9

    def test_labels_stay_inside_the_panel(self):
        placed = spread([0.99, 1.0, 0.98], 0.1)
        assert max(placed) <= 1.0 + 1e-9
        assert sorted(placed) == [placed[2], placed[0], placed[1]]
