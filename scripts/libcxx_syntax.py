"""Checks the syntax of every translation unit in a compile_commands.json with clang and libc++.

    libcxx_syntax.py COMPILE_COMMANDS

Each unit of src/, devserver/, tests/, bench/ and tools/ is compiled with its own flags, plus
-stdlib=libc++ and -fsyntax-only, two at a time. Prints each failure with clang's words and exits
with 1 when any unit fails.
"""

import concurrent.futures
import json
import os
import shlex
import subprocess
import sys

CHECKED = ("src/", "devserver/", "tests/", "bench/", "tools/")


def command_of(entry):
    words = entry["arguments"] if "arguments" in entry else shlex.split(entry["command"])
    kept = []
    skip = False
    for word in words:
        if skip:
            skip = False
            continue
        if word in ("-o", "-MF", "-MT", "-MQ"):
            skip = True
            continue
        if word in ("-MD", "-MMD", "-c"):
            continue
        kept.append(word)
    return kept + ["-stdlib=libc++", "-fsyntax-only"]


def check(entry):
    result = subprocess.run(command_of(entry), cwd=entry["directory"], capture_output=True, text=True)
    return entry["file"], result.returncode, result.stderr


def main():
    root = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))
    with open(sys.argv[1]) as f:
        entries = json.load(f)
    units = [e for e in entries
             if os.path.relpath(e["file"], root).startswith(CHECKED) and "_autogen" not in e["file"]]
    failed = 0
    with concurrent.futures.ThreadPoolExecutor(max_workers=2) as pool:
        for path, code, errors in pool.map(check, units):
            if code != 0:
                failed += 1
                print("FAILED " + os.path.relpath(path, root) + "\n" + errors, flush=True)
    print("%d of %d translation units compile with libc++" % (len(units) - failed, len(units)))
    return 1 if failed else 0


if __name__ == "__main__":
    sys.exit(main())
