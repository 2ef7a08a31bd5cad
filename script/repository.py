"""Shared by the checks of this folder: which files the repository has, and how a check reports."""

import pathlib
import subprocess
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent


def files(*suffixes):
    """The files of the repository (new ones count, ignored and deleted ones don't) that end in one of the suffixes; all without any."""
    # Another user may own the working copy (a container, a build server): reading it is harmless.
    listing = subprocess.run(
        ["git", "-c", "safe.directory=*", "ls-files", "-z", "--cached", "--others", "--exclude-standard"],
        cwd=ROOT, check=True, capture_output=True).stdout.decode()
    found = sorted({name for name in listing.split("\0") if name and (ROOT / name).is_file()})
    if not found:
        sys.exit("no files found: is this a clone of the repository?")
    return [name for name in found if not suffixes or name.endswith(suffixes)]


def read(name):
    return (ROOT / name).read_text(encoding="utf-8", errors="replace")


def finish(title, problems):
    """Prints the problems and ends the process: 0 without any, 1 with some."""
    for problem in problems:
        print(problem)
    print(f"{title}: {len(problems)} problem(s)" if problems else f"{title}: all right")
    sys.exit(1 if problems else 0)
