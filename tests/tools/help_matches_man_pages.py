#!/usr/bin/python3
"""Each program's --help and --version against its man page, as a user meets them.

    help_matches_man_pages.py --man-dir DIR --version V --built NAME[,NAME...] NAME=PATH...

For every NAME=PATH: --help and --version exit 0; --version prints "NAME V"; the options
--help lists are the options of the man page's OPTIONS section as man shows it (scdoc
then groff), each with the same argument; and the page's SEE ALSO names only programs
of --built, whose pages a package installs alongside.
"""

import argparse
import re
import subprocess
import sys

OPTION = re.compile(r"^-{1,2}[a-z][a-z0-9-]*")


def options_of(synopsis):
    """'-o FILE, --output FILE' or '-o, --output FILE' -> {'-o': 'FILE', '--output': 'FILE'}:
    alternatives share the argument written after the last of them."""
    found = {}
    items = [item.strip() for item in synopsis.split(", ")]
    argument = ""
    for item in items:
        match = OPTION.match(item)
        if not match:
            return {}
        argument = item[match.end():].strip()
    for item in items:
        found[OPTION.match(item).group(0)] = argument
    return found


def help_options(text):
    """Option lines of a usage text: indented by a few blanks (what runs on is indented
    further), the option and its argument, then two blanks or the end of the line."""
    found = {}
    for line in text.splitlines():
        stripped = line.lstrip()
        if not 0 < len(line) - len(stripped) <= 4 or not stripped.startswith("-"):
            continue
        found.update(options_of(re.split(r"\s{2,}", stripped)[0]))
    return found


def man_text(page):
    with open(page, "rb") as source:
        scdoc = subprocess.run(["scdoc"], stdin=source, capture_output=True, check=True)
    shown = subprocess.run(["groff", "-man", "-Tutf8", "-P-cbu", "-rLL=200n"],
                           input=scdoc.stdout, capture_output=True, check=True)
    return shown.stdout.decode("utf-8")


def section(text, name):
    match = re.search(rf"^{name}\n(.*?)(?=^[A-Z][A-Z ]+\n|\Z)", text, re.M | re.S)
    return match.group(1) if match else ""


def man_options(text):
    found = {}
    for line in section(text, "OPTIONS").splitlines():
        # A term is indented by seven, what it means by more.
        if re.match(r"^ {7}-", line):
            found.update(options_of(line.strip()))
    return found


def check(name, path, args):
    problems = []

    def run(option):
        done = subprocess.run([path, option], capture_output=True, text=True, timeout=60)
        if done.returncode != 0:
            problems.append(f"{name} {option}: exit status {done.returncode}: {done.stderr}")
        return done.stdout

    usage = run("--help")
    version = run("--version").strip()
    if version != f"{name} {args.version}":
        problems.append(f"{name} --version: '{version}', not '{name} {args.version}'")

    page = man_text(f"{args.man_dir}/{name}.1.scd")
    listed, documented = help_options(usage), man_options(page)
    for option in sorted(set(listed) | set(documented)):
        if option not in documented:
            problems.append(f"{name}: {option} is in --help, not in the man page")
        elif option not in listed:
            problems.append(f"{name}: {option} is in the man page, not in --help")
        elif listed[option] != documented[option]:
            problems.append(f"{name} {option}: --help says '{listed[option]}', "
                            f"the man page '{documented[option]}'")
    if not documented:
        problems.append(f"{name}: the man page lists no option")
    for other in re.findall(r"([a-z][a-z-]*)\(1\)", section(page, "SEE ALSO")):
        if other not in args.built:
            problems.append(f"{name}: the man page points at {other}(1), which is not built "
                            "here, so no package installs it")
    return problems


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--man-dir", required=True)
    parser.add_argument("--version", required=True)
    parser.add_argument("--built", required=True, type=lambda text: text.split(","))
    parser.add_argument("programs", nargs="+", metavar="NAME=PATH")
    args = parser.parse_args()
    problems = []
    for pair in args.programs:
        name, path = pair.split("=", 1)
        problems += check(name, path, args)
        print(f"{name}: checked")
    for problem in problems:
        print(problem, file=sys.stderr)
    return 1 if problems else 0


if __name__ == "__main__":
    sys.exit(main())
