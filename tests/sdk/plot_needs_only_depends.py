#!/usr/bin/python3
"""quil-plot, unpacked from its package, needs nothing its Depends do not bring.

    plot_needs_only_depends.py PLOT_DEB ROOT TRACE OUT.png

ROOT holds the packages unpacked with dpkg -x. quil-plot draws TRACE with the
quil-replay in ROOT; every Python module and shared object it loaded must belong to a
package that the plot package's Depends name, or that those depend on in turn: so an
install with --no-install-recommends plots as well as a full one. Recommends and
Suggests are never followed.
"""

import os
import re
import subprocess
import sys

# Run inside the plotting process: what it loaded, one path a line, as it exits. What
# the interpreter had loaded before quil-plot started (site's own imports, the locale)
# is python3's, whatever runs, and left out.
PROBE = r"""
import atexit, os, runpy, sys

def loaded():
    paths = {getattr(m, "__file__", None) for m in list(sys.modules.values())}
    with open("/proc/self/maps") as maps:
        paths |= {line.split()[-1] for line in maps if "/" in line.split()[-1]}
    return paths

before = loaded()

def write():
    with open(os.environ["PLOT_LOADED"], "w") as out:
        out.write("\n".join(sorted(p for p in loaded() - before if p)))

atexit.register(write)
sys.argv = sys.argv[1:]
runpy.run_path(sys.argv[0], run_name="__main__")
"""


def field_names(text):
    """Package names of a Depends-style field: alternatives all count, versions and
    architecture qualifiers do not."""
    names = set()
    for item in re.split(r"[,|]", text):
        item = item.strip()
        if item:
            names.add(re.split(r"[\s(:]", item)[0])
    return names


def closure(roots):
    """The installed packages that `roots` depend on, directly or not, virtual
    packages resolved through their providers."""
    listing = subprocess.run(
        ["dpkg-query", "-W", "-f", "${Package}\t${Provides}\t${Depends}, ${Pre-Depends}\n"],
        capture_output=True, text=True, check=True).stdout
    needs, providers = {}, {}
    for line in listing.splitlines():
        name, provides, depends = line.split("\t")
        needs[name] = field_names(depends)
        for virtual in field_names(provides):
            providers.setdefault(virtual, set()).add(name)
    seen, todo = set(), list(roots)
    while todo:
        name = todo.pop()
        for real in ({name} if name in needs else set()) | providers.get(name, set()):
            if real not in seen:
                seen.add(real)
                todo.extend(needs[real])
    return seen


def owners(paths):
    """The packages of each path, asked of dpkg at once; it knows /lib paths where the
    system maps /usr/lib."""
    variants = {path: {path, re.sub(r"^/usr(/lib|/bin|/sbin)/", r"\1/", path)} for path in paths}
    asked = sorted(set().union(*variants.values())) if paths else []
    listing = subprocess.run(["dpkg-query", "-S", *asked], capture_output=True, text=True)
    by_path = {}
    for line in listing.stdout.splitlines():
        packages, _, owned = line.partition(": ")
        if owned and not line.startswith("diversion "):
            by_path.setdefault(owned, set()).update(
                p.split(":")[0].strip() for p in packages.split(", "))
    return {path: set().union(*(by_path.get(v, set()) for v in variants[path]))
            for path in paths}


def main():
    plot_deb, root, trace, out = sys.argv[1:]
    depends = subprocess.run(["dpkg-deb", "-f", plot_deb, "Depends"], capture_output=True,
                             text=True, check=True).stdout
    ours = {"quil-motion-tools", "libquil-motion0", "libquil-motion-dev"}
    allowed = closure(field_names(depends) - ours)

    loaded_list = out + ".loaded"
    env = dict(os.environ, PLOT_LOADED=loaded_list, QUIL_REPLAY=f"{root}/usr/bin/quil-replay",
               PYTHONDONTWRITEBYTECODE="1")
    env.pop("MPLBACKEND", None)
    script = os.path.realpath(f"{root}/usr/bin/quil-plot")
    done = subprocess.run(["/usr/bin/python3", "-c", PROBE, script, trace, "-o", out], env=env,
                          capture_output=True, text=True)
    if done.returncode != 0 or not os.path.getsize(out):
        sys.exit(f"quil-plot failed ({done.returncode}):\n{done.stderr}")
    with open(loaded_list) as f:
        loaded = [p for p in f.read().split("\n")
                  if p.startswith("/") and not p.startswith(root) and os.path.exists(p)]

    strays = {path: packages for path, packages in owners(loaded).items()
              if not packages & allowed}
    for path, packages in sorted(strays.items()):
        print(f"{path}: from {', '.join(sorted(packages)) or 'no package'}, which the "
              "Depends of quil-motion-plot do not bring", file=sys.stderr)
    print(f"quil-plot loaded {len(loaded)} files, all from the {len(allowed)} packages "
          "its Depends bring" if not strays else "")
    return 1 if strays else 0


if __name__ == "__main__":
    sys.exit(main())
