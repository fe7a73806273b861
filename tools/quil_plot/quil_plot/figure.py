"""Draws one figure of a trace: signals on a shared time axis, reports on top."""

import math
import textwrap

import matplotlib

# Text from a trace (its heading, file names, device records) is shown as written,
# never read as mathematical markup: a "$" in a comment must not break the figure.
matplotlib.rcParams["text.parse_math"] = False

matplotlib.use("Agg")  # headless unless the caller picked a backend before importing us
import matplotlib.pyplot as plt  # noqa: E402
from matplotlib.patches import Rectangle  # noqa: E402

from . import marks as mk  # noqa: E402
from .trace import ACTION_DOWN, ACTION_UP  # noqa: E402

# The display the gesture thresholds are drawn for, in pixels.
DISPLAY_W, DISPLAY_H = 1344, 2772
# Edge zones a swipe must start in: left, right and bottom.
EDGE_LEFT_MAX, EDGE_RIGHT_MIN, EDGE_BOTTOM_MIN = 133, 1210, 2634
GRAVITY = 9.80665

AXIS_COLOURS = {"x": "#d62728", "y": "#2ca02c", "z": "#1f77b4", "|a|": "#000000"}
FINGER_COLOURS = ["#1f77b4", "#ff7f0e", "#2ca02c", "#d62728", "#9467bd", "#8c564b",
                  "#e377c2", "#17becf", "#bcbd22", "#7f7f7f"]
LABEL_SIZE = 8
TICK_SIZE = 8
TITLE_SIZE = 10
LANE_INCHES = 0.5
LEFT_INCHES = 1.8
MAX_OVERLAY_LINES = 40
DENSE_SAMPLES = 400  # beyond this many, samples are drawn as thin lines without dots
WIDTH_INCHES = 13.0
DPI = 100


def finger_colour(finger):
    return FINGER_COLOURS[finger % len(FINGER_COLOURS)]


def _finite(value):
    return value if math.isfinite(value) else math.nan


def spread(values, gap, low=0.0, high=1.0):
    """Label positions moved apart until neighbours are at least gap apart, in order,
    kept within [low, high] where there is room, and as near to values as that allows."""
    order = sorted(range(len(values)), key=lambda i: values[i])
    placed = [0.0] * len(values)
    last = -math.inf
    for i in order:
        placed[i] = max(min(max(values[i], low), high), last + gap)
        last = placed[i]
    # Whatever was pushed past the top edge moves the whole stack down.
    overflow = (last - high) if order else 0.0
    if overflow > 0:
        floor = low
        for i in order:
            placed[i] = max(placed[i] - overflow, floor)
            floor = placed[i] + gap
    return placed


class _TimeScale:
    """Milliseconds for short traces, seconds for long ones, record numbers without stamps."""

    def __init__(self, trace, reports):
        self.stamped = trace.stamped
        end = max([trace.end] + [r.t for r in reports])
        self.factor = 1000.0 if self.stamped and end > 20000 else 1.0
        self.end = end / self.factor
        if not self.stamped:
            self.label = "record number (the trace has no time stamps)"
        else:
            self.label = "time (s)" if self.factor > 1 else "time (ms)"

    def __call__(self, t):
        return t / self.factor

    def limits(self):
        span = self.end if self.end > 0 else 1.0
        # Room on the right for the labels of the last reports.
        return -0.02 * span, self.end + 0.12 * span


def heading(trace, title, width_inches):
    """The figure's title on one line: `title`, else the trace's path and the comment
    lines it starts with, shortened to what fits the figure's width."""
    text = title if title is not None else trace.path
    if title is None and trace.title:
        text += " \u2014 " + trace.title
    # An average character of the title font is about 0.55 of its size wide.
    fits = int(width_inches * 72 * 0.96 / (TITLE_SIZE * 0.55))
    if len(text) <= fits:
        return text
    shortened = textwrap.shorten(text, fits, placeholder=" \u2026")
    # A first word longer than the line (a long path) is cut inside the word.
    return shortened if len(shortened) > 2 else text[:fits - 1] + "\u2026"


def draw(trace, reports, calls, title=None, width=WIDTH_INCHES):
    """Returns a matplotlib Figure of the trace with its replay's reports, `width`
    inches wide."""
    scale = _TimeScale(trace, reports)
    marks, spans = mk.build_marks(reports, trace.end)
    lanes = mk.lanes(reports, calls)
    fingers = trace.fingers()

    tick_lanes = 2 if trace.device else 1
    panels = [("reports", LANE_INCHES * (len(lanes) + tick_lanes) + 0.3)]
    if trace.acc:
        panels.append(("acc", 2.3))
    if trace.prox or trace.light:
        panels.append(("env", 1.3))
    if fingers:
        panels.append(("touch_x", 1.5))
        panels.append(("touch_y", 1.5))
    if len(panels) == 1:
        panels.append(("empty", 0.8))

    heights = [h for _, h in panels]
    total = sum(heights) + 1.3
    columns = 2 if fingers else 1
    fig = plt.figure(figsize=(width, total), dpi=DPI)
    grid = fig.add_gridspec(
        len(panels), columns, height_ratios=heights,
        width_ratios=[5, 1] if fingers else [1], hspace=0.12, wspace=0.12,
        # Margins in inches, whatever the width: lane names on the left, line names
        # (or the paths panel's ticks) on the right.
        left=LEFT_INCHES / width, right=1 - (0.3 if fingers else 0.9) / width,
        top=1 - 0.6 / total, bottom=0.55 / total,
    )
    axes = {}
    first = None
    for row, (name, _) in enumerate(panels):
        ax = fig.add_subplot(grid[row, 0], sharex=first)
        first = first or ax
        axes[name] = ax

    fig.suptitle(heading(trace, title, width), fontsize=TITLE_SIZE, x=0.01,
                 ha="left", y=1 - 0.12 / total, va="top")

    left, right = scale.limits()
    first.set_xlim(left, right)
    signal_axes = [ax for name, ax in axes.items() if name != "reports"]
    _draw_reports(fig, axes["reports"], marks, spans, lanes, calls, trace.device, scale)
    _draw_overlays(signal_axes, marks, spans, scale)
    if "acc" in axes:
        _draw_acc(axes["acc"], trace.acc, scale)
    if "env" in axes:
        _draw_env(axes["env"], trace.prox, trace.light, scale)
    if fingers:
        _draw_touch(axes["touch_x"], axes["touch_y"], fingers, scale, trace.guessed_axes)
        rows = [i for i, (name, _) in enumerate(panels) if name != "reports"]
        _draw_paths(fig.add_subplot(grid[rows[0]:, 1]), fingers, trace.guessed_axes)
    if "empty" in axes:
        axes["empty"].text(0.5, 0.5, "no sensor samples or touches in this trace",
                           transform=axes["empty"].transAxes, ha="center", va="center",
                           fontsize=8, color="#555555")
        axes["empty"].set_yticks([])

    for ax in list(axes.values())[:-1]:
        ax.tick_params(labelbottom=False)
    list(axes.values())[-1].set_xlabel(scale.label, fontsize=8)
    for ax in axes.values():
        ax.tick_params(labelsize=TICK_SIZE)
        ax.grid(True, axis="x", color="#dddddd", linewidth=0.6)
    return fig


def _label_widths(fig, ax, texts):
    """Each text's approximate width in data units of ax's x axis."""
    fig_width_px = fig.get_figwidth() * fig.dpi
    ax_width_px = ax.get_position().width * fig_width_px
    left, right = ax.get_xlim()
    per_px = (right - left) / max(ax_width_px, 1.0)
    char_px = LABEL_SIZE * 0.6 * fig.dpi / 72.0
    return [(len(text) + 2) * char_px * per_px for text in texts]


def _draw_reports(fig, ax, marks, spans, lanes, calls, device, scale):
    """One lane per motion type (top down); host calls and device records below."""
    lane_y = {kind: -i for i, kind in enumerate(lanes)}
    host_y = -len(lanes)
    # Above and below the markers, never across them.
    rows = (0.28, -0.3)

    for span in spans:
        y = lane_y[span.type]
        start, end = scale(span.start), scale(span.end)
        ax.add_patch(Rectangle((start, y - 0.42), max(end - start, 0.0), 0.84,
                               color=span.colour, alpha=0.18, linewidth=0))

    for kind in lanes:
        ax.axhline(lane_y[kind] - 0.5, color="#cccccc", linewidth=0.5)
    by_lane = {}
    for mark in marks:
        by_lane.setdefault(mark.type, []).append(mark)
    for kind, lane_marks in by_lane.items():
        xs = [scale(m.t) for m in lane_marks]
        texts = [m.label for m in lane_marks]
        levels = mk.stagger(xs, _label_widths(fig, ax, texts), levels=len(rows))
        y = lane_y[kind]
        for x, mark, level in zip(xs, lane_marks, levels):
            ax.plot([x], [y], marker="s" if mark.finish else "o", markersize=5,
                    color=mark.colour, markeredgecolor="black", markeredgewidth=0.4)
            if level is None:
                continue
            ax.annotate(mark.label, (x, y + rows[level]), xytext=(4, 0),
                        textcoords="offset points", va="center", fontsize=LABEL_SIZE,
                        color=mark.colour, fontweight="bold", annotation_clip=False)

    groups = mk.group_calls(calls)
    ticks = [(t, ", ".join(labels), "#c00000" if failed else "#333333")
             for t, labels, failed in groups]
    _draw_ticks(fig, ax, ticks, host_y, rows, scale)
    bottom = host_y
    if device:
        bottom -= 1
        ax.axhline(host_y - 0.5, color="#cccccc", linewidth=0.5)
        _draw_ticks(fig, ax, [(t, text, "#777777") for t, text in device], bottom, rows, scale)

    ax.set_ylim(bottom - 0.5, 0.5)
    ax.set_yticks([lane_y[k] for k in lanes] + [host_y] + ([bottom] if device else []))
    counts = {k: len(by_lane.get(k, [])) for k in lanes}
    ax.set_yticklabels([f"{mk.lane_label(k)}\n{counts[k]} report{'s' if counts[k] != 1 else ''}"
                        for k in lanes] + ["host calls"]
                       + (["device"] if device else []))
    for tick, kind in zip(ax.get_yticklabels(), lanes):
        tick.set_color(mk.type_colour(kind))
        tick.set_fontweight("bold")
    ax.tick_params(axis="y", length=0)
    if not marks:
        ax.text(0.5, 1.0, "no reports", transform=ax.transAxes, ha="center", va="bottom",
                fontsize=8, color="#555555")


def _draw_ticks(fig, ax, ticks, y, rows, scale):
    """Instants as ticks in one lane, each labelled, labels staggered over the rows."""
    xs = [scale(t) for t, _, _ in ticks]
    levels = mk.stagger(xs, _label_widths(fig, ax, [text for _, text, _ in ticks]), len(rows))
    for x, (_, text, colour), level in zip(xs, ticks, levels):
        ax.plot([x], [y], marker="|", markersize=10, markeredgewidth=1.5, color=colour)
        if level is None:
            continue
        ax.annotate(text, (x, y + rows[level]), xytext=(4, 0), textcoords="offset points",
                    va="center", fontsize=LABEL_SIZE, color=colour, annotation_clip=False)


def _draw_overlays(axes, marks, spans, scale):
    """Reports carried down onto the signals, so the cause lines up with the effect.
    Past a few dozen device reports the lines would hide the signals: the lanes say it."""
    device_marks = [m for m in marks if m.type not in mk.GESTURE_TYPES]
    if len(device_marks) > MAX_OVERLAY_LINES:
        device_marks = []
    for ax in axes:
        for span in (s for s in spans if s.gesture):
            ax.axvspan(scale(span.start), scale(span.end), color=span.colour, alpha=0.12,
                       linewidth=0)
        for mark in device_marks:
            ax.axvline(scale(mark.t), color=mark.colour, alpha=0.6, linewidth=1.0,
                       linestyle="--")


def _end_labels(ax, series):
    """Names each line at the right edge of the panel, in its colour, instead of a legend."""
    ends = [(name, colour, last) for name, colour, last in series if math.isfinite(last)]
    if not ends:
        return
    bottom, top = ax.get_ylim()
    span = (top - bottom) or 1.0
    fractions = spread([(last - bottom) / span for _, _, last in ends], 0.12)
    for (name, colour, _), frac in zip(ends, fractions):
        ax.annotate(name, (1.005, frac), xycoords="axes fraction", va="center",
                    fontsize=8, color=colour, fontweight="bold", annotation_clip=False)


def _draw_acc(ax, samples, scale):
    ts = [scale(s.t) for s in samples]
    columns = list(zip(*[[_finite(v) for v in s.values] for s in samples]))
    mags = [math.sqrt(x * x + y * y + z * z) for x, y, z in zip(*columns)]
    dense = len(ts) > DENSE_SAMPLES
    ax.axhline(GRAVITY, color="#999999", linewidth=0.6, linestyle=":")
    ax.axhline(-GRAVITY, color="#999999", linewidth=0.6, linestyle=":")
    ax.axhline(0, color="#bbbbbb", linewidth=0.5)
    series = []
    for name, values in zip(("x", "y", "z"), columns):
        ax.plot(ts, values, color=AXIS_COLOURS[name], linewidth=1.1 if not dense else 0.6,
                marker=".", markersize=0 if dense else 3, zorder=2)
        series.append((name, AXIS_COLOURS[name], values[-1]))
    # Thinner and above the axes: at rest |a| runs along one of them and must stay visible.
    ax.plot(ts, mags, color=AXIS_COLOURS["|a|"], linewidth=0.9 if not dense else 0.5,
            zorder=3)
    series.append(("|a|", AXIS_COLOURS["|a|"], mags[-1]))
    ax.set_ylabel("acceleration\n(m/s\u00b2)", fontsize=8)
    _end_labels(ax, series)


def _steps(ax, samples, scale, colour, end, width=1.2):
    ts = [scale(s.t) for s in samples] + [end]
    values = [_finite(s.values[0]) for s in samples]
    values.append(values[-1])
    ax.plot(ts, values, drawstyle="steps-post", color=colour, linewidth=width)
    ax.plot(ts[:-1], values[:-1], linestyle="none", marker=".", markersize=4, color=colour)


def _draw_env(ax, prox, light, scale):
    """Proximity on the left axis, ambient light on the right: each holds until the next."""
    end = scale.end
    prox_colour, light_colour = "#6a3d9a", "#b8860b"
    if prox:
        _steps(ax, prox, scale, prox_colour, end, width=2.4)
        ax.set_ylabel("proximity", fontsize=8, color=prox_colour)
        ax.tick_params(axis="y", colors=prox_colour)
    else:
        ax.set_yticks([])
    if light:
        right = ax.twinx()
        _steps(right, light, scale, light_colour, end)
        right.set_ylabel("light", fontsize=8, color=light_colour)
        right.tick_params(axis="y", labelsize=TICK_SIZE, colors=light_colour)


def _strokes(points):
    """Splits one finger's points into strokes: each starts at a down, ends at an up."""
    strokes, current = [], []
    for point in points:
        if point.action == ACTION_DOWN and current:
            strokes.append(current)
            current = []
        current.append(point)
        if point.action == ACTION_UP:
            strokes.append(current)
            current = []
    if current:
        strokes.append(current)
    return strokes


GUESSED_COLOUR = "#c00000"


def _draw_touch(ax_x, ax_y, fingers, scale, guessed):
    for finger, points in fingers.items():
        colour = finger_colour(finger)
        for stroke in _strokes(points):
            ts = [scale(p.t) for p in stroke]
            for ax, values in ((ax_x, [p.x for p in stroke]), (ax_y, [p.y for p in stroke])):
                ax.plot(ts, values, color=colour, linewidth=1.3, marker=".", markersize=3)
                ax.plot(ts[:1], values[:1], marker="o", color=colour, markersize=5)
                if stroke[-1].action == ACTION_UP:
                    ax.plot(ts[-1:], values[-1:], marker="x", color=colour, markersize=6)
            for ax, value in ((ax_x, stroke[0].x), (ax_y, stroke[0].y)):
                ax.annotate(f"{finger}", (ts[0], value), xytext=(-3, 3),
                            textcoords="offset points", ha="right", fontsize=LABEL_SIZE,
                            color=colour, fontweight="bold")
    ax_x.set_ylabel("touch x (px)\n\u25cf down  \u00d7 up", fontsize=8)
    ax_y.set_ylabel("touch y (px)\ntop of display up", fontsize=8)
    if guessed:
        # Scaled from the largest values seen: the pixels are not where the finger was.
        for ax in (ax_x, ax_y):
            ax.text(0.005, 0.96, "touch axes guessed (largest values seen)",
                    transform=ax.transAxes, ha="left", va="top", fontsize=LABEL_SIZE,
                    color=GUESSED_COLOUR, fontweight="bold")
    for ax, size in ((ax_x, DISPLAY_W), (ax_y, DISPLAY_H)):
        low, high = ax.get_ylim()
        ax.set_ylim(min(low, 0), max(high, size))
        ax.axhline(0, color="#999999", linewidth=0.6, linestyle=":")
        ax.axhline(size - 1, color="#999999", linewidth=0.6, linestyle=":")
    ax_y.invert_yaxis()


def _draw_paths(ax, fingers, guessed=False):
    """Finger paths on the display outline, with the swipe edge zones shaded."""
    ax.add_patch(Rectangle((0, 0), DISPLAY_W, DISPLAY_H, fill=False, edgecolor="black",
                           linewidth=1.0))
    zone = dict(color="#999999", alpha=0.15, linewidth=0)
    ax.add_patch(Rectangle((0, 0), EDGE_LEFT_MAX, DISPLAY_H, **zone))
    ax.add_patch(Rectangle((EDGE_RIGHT_MIN, 0), DISPLAY_W - EDGE_RIGHT_MIN, DISPLAY_H, **zone))
    ax.add_patch(Rectangle((0, EDGE_BOTTOM_MIN), DISPLAY_W, DISPLAY_H - EDGE_BOTTOM_MIN, **zone))
    xs_all, ys_all = [0, DISPLAY_W], [0, DISPLAY_H]
    for finger, points in fingers.items():
        colour = finger_colour(finger)
        for stroke in _strokes(points):
            xs, ys = [p.x for p in stroke], [p.y for p in stroke]
            xs_all += xs
            ys_all += ys
            ax.plot(xs, ys, color=colour, linewidth=1.3)
            ax.plot(xs[:1], ys[:1], marker="o", color=colour, markersize=4)
            if stroke[-1].action == ACTION_UP:
                ax.plot(xs[-1:], ys[-1:], marker="x", color=colour, markersize=5)
        first = points[0]
        ax.annotate(f"{finger}", (first.x, first.y), xytext=(3, 3), textcoords="offset points",
                    fontsize=LABEL_SIZE, color=colour, fontweight="bold")
    margin = 60
    ax.set_xlim(min(xs_all) - margin, max(xs_all) + margin)
    ax.set_ylim(max(ys_all) + margin, min(ys_all) - margin)
    ax.set_aspect("equal", adjustable="box")
    title = f"paths on the\n{DISPLAY_W}\u00d7{DISPLAY_H} display"
    if guessed:
        title += "\ntouch axes guessed"
    ax.set_title(title, fontsize=8, color=GUESSED_COLOUR if guessed else "black")
    ax.tick_params(labelsize=7)
