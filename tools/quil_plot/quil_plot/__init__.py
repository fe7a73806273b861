"""quil-plot: a figure of a motion trace with what the library reported on it."""

import os
import re


def version():
    """The project's version: written into the package when it is installed, else read
    from the source tree's CMakeLists.txt, where it is set."""
    try:
        from ._version import VERSION  # only an install has it

        return VERSION
    except ImportError:
        pass
    top = os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "..", "..")
    try:
        with open(os.path.join(top, "CMakeLists.txt"), encoding="utf-8") as f:
            found = re.search(r"project\(QuilMotion VERSION ([0-9.]+)", f.read())
    except OSError:
        found = None
    return found.group(1) if found else "unknown"
