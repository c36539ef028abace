"""Checks that the tests which docs/kept-behaviours.md names are there.

    check_kept_behaviours.py [TOP]

Looks at the last cell of every row of the document's tables: it holds the names of one or more
tests in backticks, `Suite.Case` for one in a file *_test.cc below tests/ and
`test_module.py::test_name` for one in tests/e2e. TOP is the top of the source tree, by default the
one that this script is in.
"""
import pathlib
import re
import sys

DOCUMENT = pathlib.Path("docs") / "kept-behaviours.md"

GOOGLETEST = re.compile(r"^(?:TYPED_)?TEST(?:_F|_P)?\(\s*(\w+)\s*,\s*(\w+)\s*\)", re.MULTILINE)
PYTEST = re.compile(r"^def (test_\w+)\(", re.MULTILINE)


def existing_tests(top):
    """The names of all tests in the source tree, in the document's form."""
    names = set()
    for path in (top / "tests").glob("**/*_test.cc"):
        names.update(".".join(match) for match in GOOGLETEST.findall(path.read_text()))
    for path in (top / "tests" / "e2e").glob("test_*.py"):
        names.update(f"{path.name}::{name}" for name in PYTEST.findall(path.read_text()))
    return names


def behaviours(text):
    """Yields line number and last cell of every row of a table, but not of its head."""
    lines = text.splitlines()
    is_row = [line.startswith("|") for line in lines] + [False]
    for number, line in enumerate(lines, start=1):
        is_head = is_row[number - 1] and lines[number : number + 1] and is_ruler(lines[number])
        if is_row[number - 1] and not is_head and not is_ruler(line):
            yield number, re.split(r"(?<!\\)\|", line.strip())[-2]


def is_ruler(line):
    return re.fullmatch(r"[|\-: ]+", line) is not None and "-" in line


def problems(text, existing):
    """Yields line number and description of everything that is wrong."""
    rows = list(behaviours(text))
    if not rows:
        yield 1, "no table with behaviours"
    for number, cell in rows:
        names = re.findall(r"`([^`]*)`", cell)
        if not names:
            yield number, "no test named"
        for name in names:
            if name not in existing:
                yield number, f"no such test: {name}"


def main():
    here = pathlib.Path(__file__).resolve()
    top = pathlib.Path(sys.argv[1]) if len(sys.argv) > 1 else here.parents[2]
    text = (top / DOCUMENT).read_text()
    found = list(problems(text, existing_tests(top)))
    for number, problem in found:
        print(f"{DOCUMENT}:{number}: {problem}", file=sys.stderr)
    if not found:
        print(f"{DOCUMENT}: {len(list(behaviours(text)))} behaviours, each with its tests")
    return 1 if found else 0


if __name__ == "__main__":
    sys.exit(main())
