"""Command line of quil-plot."""

import argparse
import os
import sys

from . import replay as rp
from . import version
from .trace import TraceError, read_trace

FORMATS = (".png", ".svg")
USAGE_ERROR, FAILURE = 2, 1


class _Parser(argparse.ArgumentParser):
    def error(self, message):
        self.print_usage(sys.stderr)
        raise SystemExit(_fail(message, USAGE_ERROR))


def _fail(message, code):
    print(f"quil-plot: {message}", file=sys.stderr)
    return code


def _say(message):
    """What it is doing: a figure takes seconds, so each step is told on stderr."""
    print(f"quil-plot: {message}", file=sys.stderr, flush=True)


def _arguments(argv):
    parser = _Parser(
        prog="quil-plot",
        description="Draws a motion trace: acceleration, proximity and light, touch tracks "
        "and host calls on one time axis, with every report quil-replay prints for it.",
    )
    parser.add_argument("trace", metavar="TRACE", help="the trace file to draw")
    parser.add_argument("-o", "--output", metavar="FILE",
                        help="the figure to write, FILE.png or FILE.svg "
                        "(default: the trace's name with .png, in the current directory)")
    parser.add_argument("--replay", metavar="JSONL",
                        help="read the reports from this output of quil-replay --json "
                        "instead of running it")
    parser.add_argument("--quil-replay", metavar="PATH", dest="quil_replay",
                        help="the quil-replay to run (default: $QUIL_REPLAY, else the one "
                        "beside quil-plot, else the source tree's build/quil-replay, "
                        "else the one on PATH)")
    parser.add_argument("--title",
                        help="the figure's heading, on one line (default: the trace's path "
                        "and the comment lines it starts with)")
    parser.add_argument("--dpi", type=int, default=100,
                        help="pixels per inch of a PNG (default 100; the figure is 13 inches wide)")
    parser.add_argument("--version", action="version", version=f"quil-plot {version()}",
                        help="show the version and exit")
    return parser.parse_args(argv)


def _output_path(args):
    path = args.output
    if path is None:
        stem = os.path.splitext(os.path.basename(args.trace))[0] or "trace"
        path = stem + ".png"
    extension = os.path.splitext(path)[1].lower()
    if extension not in FORMATS:
        raise SystemExit(_fail(f"{path}: the output must end in .png or .svg", USAGE_ERROR))
    return path


def main(argv=None, script_dir=None):
    args = _arguments(sys.argv[1:] if argv is None else argv)
    output = _output_path(args)
    if not 20 <= args.dpi <= 600:
        return _fail("--dpi must be between 20 and 600", USAGE_ERROR)
    try:
        replay = rp.find_replay(args.quil_replay, script_dir)
        _say(f"reading {args.trace} with {replay}")
        trace = read_trace(args.trace, replay)
        if args.replay:
            lines = rp.read_replay_file(args.replay)
            source = args.replay
        else:
            _say(f"replaying it with {replay} --json")
            lines = rp.run_replay(replay, args.trace)
            source = "quil-replay output"
        reports, calls = rp.parse_replay(lines, trace.calls, source)
    except TraceError as error:
        return _fail(str(error), error.exit_code)
    except rp.ReplayError as error:
        return _fail(str(error), error.exit_code)

    # Matplotlib is imported only now, so that bad input is reported quickly.
    try:
        from .figure import draw
        import matplotlib.pyplot as plt
    except ImportError as error:
        return _fail(f"cannot load matplotlib ({error}): install python3-matplotlib", FAILURE)

    _say(f"drawing {_count(len(trace.acc) + len(trace.light) + len(trace.prox), 'sample')}, "
         f"{_count(len(trace.touches), 'touch', 'touches')}, {_count(len(calls), 'host call')} "
         f"and {_count(len(reports), 'report')}")
    figure = draw(trace, reports, calls, title=args.title)
    try:
        figure.savefig(output, dpi=args.dpi)
        width, height = figure.get_size_inches() * args.dpi
    except (OSError, ValueError) as error:
        return _fail(f"{output}: cannot write: {getattr(error, 'strerror', None) or error}",
                     FAILURE)
    finally:
        plt.close(figure)
    size = f"{round(width)}x{round(height)} pixels" if output.lower().endswith(".png") else "SVG"
    _say(f"wrote {output} ({size})")
    return 0


def _count(n, one, many=None):
    return f"{n} {one if n == 1 else (many or one + 's')}"
