"""Tells how a run of the tests ended: first what the programs that failed said, then a line for every
test, from the result files that the programs wrote."""
import collections
import pathlib
import sys
import xml.etree.ElementTree as ElementTree

SHOWN_LINES = 60


def read_cases(folder):
    """Yields (program, test name, outcome) from the JUnit-style files below the folder."""
    for path in sorted(pathlib.Path(folder).glob("**/*.xml")):
        for case in ElementTree.parse(path).getroot().iter("testcase"):
            if case.get("status") == "notrun":
                continue
            name = f"{case.get('classname')}.{case.get('name')}"
            yield path.stem, name, outcome(case)


def outcome(case):
    if case.find("failure") is not None or case.find("error") is not None:
        return "failed"
    if case.find("skipped") is not None or case.get("result") == "skipped":
        return "skipped"
    return "passed"


def show_failed_programs(path):
    """Shows the end of what each program said that failed, from the file that CTest wrote."""
    for case in ElementTree.parse(path).getroot().iter("testcase"):
        if case.get("status") != "fail":
            continue
        print(
            f"FAILED: {case.get('name')}, {float(case.get('time')):.1f} s. The end of its output:"
        )
        lines = (case.findtext("system-out") or "").splitlines()
        print("\n".join(f"  {line}" for line in lines[-SHOWN_LINES:]))


def main():
    if len(sys.argv) != 3 or not pathlib.Path(sys.argv[1]).is_dir():
        print(
            f"usage: {sys.argv[0]} FOLDER FILE: a folder with results and CTest's own file",
            file=sys.stderr,
        )
        return 2
    show_failed_programs(sys.argv[2])
    counts = collections.Counter()
    for _, name, result in sorted(set(read_cases(sys.argv[1])), key=lambda case: case[1]):
        counts[result] += 1
        print(f"{result:7} {name}")
    print(f"{counts['passed']} passed, {counts['failed']} failed, {counts['skipped']} skipped")
    return 1 if counts["failed"] or counts["skipped"] else 0


if __name__ == "__main__":
    sys.exit(main())
