"""Prints lines and branches reached per folder, and the lines that neither run nor have a reason.

The notes hold one line each for code that no test reaches: "FILE: TEXT OF THE LINE -- REASON". The
text stands for every line of the file that reads so, which keeps the notes true when lines move.
"""
import json
import pathlib
import sys

LEAST_LINES = 95.0


def read_notes(path):
    """The reasons by (file, text of the line)."""
    notes = {}
    for number, line in enumerate(pathlib.Path(path).read_text().splitlines(), 1):
        if not line or line.startswith("#"):
            continue
        file, colon, rest = line.partition(": ")
        text, dashes, reason = rest.rpartition(" -- ")
        if not colon or not dashes or not reason.strip():
            raise ValueError(f'{path}:{number}: not "FILE: TEXT -- REASON": {line}')
        notes[file, text.strip()] = reason
    return notes


def counted(lines):
    return [line for line in lines if not line["gcovr/noncode"]]


def share(part, whole):
    return f"{part:6}/{whole:<6}{100.0 * part / whole if whole else 100.0:6.1f} %"


def totals(files):
    lines = [line for file in files for line in counted(file["lines"])]
    branches = [branch for line in lines for branch in line["branches"]]
    return (
        sum(line["count"] > 0 for line in lines),
        len(lines),
        sum(branch["count"] > 0 for branch in branches),
        len(branches),
    )


def print_row(name, files):
    lines_hit, lines, branches_hit, branches = totals(files)
    print(f"{name:20}{share(lines_hit, lines)}  {share(branches_hit, branches)}")


def unreached(files):
    """Yields (file, number, text) of the lines that did not run."""
    for file in files:
        source = pathlib.Path(file["file"]).read_text().splitlines()
        for line in counted(file["lines"]):
            if line["count"] == 0:
                number = line["line_number"]
                yield file["file"], number, source[number - 1].strip()


def main():
    if len(sys.argv) < 4:
        print(f"usage: {sys.argv[0]} COVERAGE.json NOTES FOLDER...", file=sys.stderr)
        return 2
    try:
        files = json.loads(pathlib.Path(sys.argv[1]).read_text())["files"]
        notes = read_notes(sys.argv[2])
    except (OSError, ValueError) as error:
        print(f"coverage: {error}", file=sys.stderr)
        return 2
    print(f"{'':20}{'lines':20}  branches")
    for folder in sys.argv[3:]:
        print_row(folder, [file for file in files if file["file"].startswith(folder + "/")])
    print_row("all", files)

    unexplained, used = [], set()
    for file, number, text in unreached(files):
        if (file, text) in notes:
            used.add((file, text))
        else:
            unexplained.append(f"{file}:{number}: {text}")
    print(
        f"{len(used)} notes explain lines that no test reaches; {len(unexplained)} lines without one"
    )
    print("\n".join(unexplained))
    stale = [f"{file}: {text}" for file, text in notes if (file, text) not in used]
    for note in stale:
        print(f"note about a line that runs or is gone: {note}")
    hit, count, _, _ = totals(files)
    return 1 if unexplained or stale or 100.0 * hit / count < LEAST_LINES else 0


if __name__ == "__main__":
    sys.exit(main())
