"""The patches below tests/mutations: what they break, who should notice, and applying them.

A patch is a unified diff below two lines of its own:

    Breaks: a length of 128 is written in one byte
    Noticed by: snmp_asn_test snmp_message_test.SnmpBuild
    --- a/snmp/asn.cc
    +++ b/snmp/asn.cc
    @@ -141,3 +141,3 @@
    ...

"Noticed by" names CTest tests, tried first: all cases of a program, or those whose names begin with
a word that holds a point. A hunk is found by its lines alone, which must stand in the file once.
Its line numbers are not looked at, so that a patch stays good when code above it changes.
"""
import dataclasses
import pathlib
import re

TOP = pathlib.Path(__file__).resolve().parents[2]
FOLDER = TOP / "tests" / "mutations"


class PatchError(Exception):
    """A patch that cannot be used; the text begins with its name."""


@dataclasses.dataclass
class Hunk:
    number: int  # its line in the patch
    old: list
    new: list


@dataclasses.dataclass
class Mutation:
    name: str  # below tests/mutations, without ".patch"
    breaks: str
    noticed_by: list
    hunks: dict  # lists of hunks by file

    def broken(self, top):
        """Yields every file that the patch changes and its new text, from the files below top."""
        for file, hunks in self.hunks.items():
            try:
                lines = (top / file).read_text().split("\n")
            except OSError as error:
                raise PatchError(f"{self.name}: {file}: {error.strerror}") from error
            for hunk in hunks:
                lines = self.replace(file, lines, hunk)
            yield file, "\n".join(lines)

    def replace(self, file, lines, hunk):
        size = len(hunk.old)
        places = [at for at in range(len(lines)) if lines[at : at + size] == hunk.old]
        if len(places) != 1:
            raise PatchError(
                f"{self.name}: line {hunk.number}: its old lines stand in {file}"
                f" {len(places)} times instead of once"
            )
        at = places[0]
        return lines[:at] + hunk.new + lines[at + size :]


def read_mutation(path):
    name = str(path.relative_to(FOLDER).with_suffix(""))
    lines = path.read_text().splitlines()
    head = dict(line.split(": ", 1) for line in lines[:2] if ": " in line)
    if list(head) != ["Breaks", "Noticed by"]:
        raise PatchError(f'{name}: does not begin with "Breaks: " and "Noticed by: "')
    mutation = Mutation(name, head["Breaks"], head["Noticed by"].split(), {})
    hunks = None
    for number, line in enumerate(lines[2:], 3):
        if line.startswith("--- "):
            continue
        if line.startswith("+++ "):
            hunks = mutation.hunks.setdefault(re.sub(r"^b/", "", line[4:]), [])
        elif line.startswith("@@") and hunks is not None:
            hunks.append(Hunk(number, [], []))
        elif hunks and line[:1] in (" ", "-", "+", ""):
            if line[:1] != "+":
                hunks[-1].old.append(line[1:])
            if line[:1] != "-":
                hunks[-1].new.append(line[1:])
        else:
            raise PatchError(f"{name}: line {number}: not a line of a unified diff")
    if not mutation.hunks or not all(mutation.hunks.values()):
        raise PatchError(f"{name}: changes nothing")
    return mutation


def read_mutations():
    return [read_mutation(path) for path in sorted(FOLDER.glob("**/*.patch"))]
