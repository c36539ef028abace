"""Lists every test of a run from the result files that the test programs wrote."""
import collections
import pathlib
import sys
import xml.etree.ElementTree as ElementTree


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


def main():
    if len(sys.argv) != 2 or not pathlib.Path(sys.argv[1]).is_dir():
        print(f"usage: {sys.argv[0]} FOLDER: not a folder with results", file=sys.stderr)
        return 2
    counts = collections.Counter()
    for _, name, result in sorted(set(read_cases(sys.argv[1])), key=lambda case: case[1]):
        counts[result] += 1
        print(f"{result:7} {name}")
    print(f"{counts['passed']} passed, {counts['failed']} failed, {counts['skipped']} skipped")
    return 1 if counts["failed"] or counts["skipped"] else 0


if __name__ == "__main__":
    sys.exit(main())
