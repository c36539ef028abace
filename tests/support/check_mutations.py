"""Checks that every patch below tests/mutations still applies and names tests that are there.

    check_mutations.py CTEST-PROGRAM BUILD-FOLDER
"""
import json
import re
import subprocess
import sys

import mutations


def test_programs(ctest, build):
    """The names of all CTest tests, a case of a program standing for its program."""
    command = [ctest, "--test-dir", build, "--show-only=json-v1"]
    found = subprocess.run(command, check=True, capture_output=True, text=True)
    names = [test["name"] for test in json.loads(found.stdout)["tests"]]
    return {re.sub(r"_NOT_BUILT$", "", name).split(".")[0] for name in names}


def problems(path, programs):
    try:
        mutation = mutations.read_mutation(path)
        for _ in mutation.broken(mutations.TOP):
            pass
    except mutations.PatchError as error:
        yield str(error)
        return
    for word in mutation.noticed_by:
        if word.split(".")[0] not in programs:
            yield f"{mutation.name}: no such test: {word}"


def main():
    if len(sys.argv) != 3:
        print(f"usage: {sys.argv[0]} CTEST-PROGRAM BUILD-FOLDER", file=sys.stderr)
        return 2
    programs = test_programs(*sys.argv[1:])
    paths = sorted(mutations.FOLDER.glob("**/*.patch"))
    found = [problem for path in paths for problem in problems(path, programs)]
    for problem in found:
        print(problem, file=sys.stderr)
    if not found:
        print(f"{len(paths)} patches, all of them apply")
    return 1 if found or not paths else 0


if __name__ == "__main__":
    sys.exit(main())
