"""Instructions per operation, as valgrind counts them, and whether they have become more.

Only what the project's own code executes is counted, not the libraries below it: those choose their
code by the processor, and come from other versions on other machines. What the own code asks of the
heap is compared as well, since it is what an operation costs in the C library.
"""
import json
import os
import pathlib
import re
import subprocess
import tempfile

ALLOWED_GROWTH = 0.03

OBJECT = re.compile(r"ob=\((\d+)\)(?: (.*))?$")
COST = re.compile(r"(?:[+*-]?\d*|0x[0-9a-f]+) (\d+)$")
TRIGGER = re.compile(r"desc: Trigger: Client Request: (.*)$")


def own_instructions(text, program):
    """Name of the operation and its own instructions in one dump of callgrind; None without one."""
    names, own, skip, total, operation = {}, False, False, 0, None
    for line in text.splitlines():
        if found := TRIGGER.match(line):
            operation = found[1]
        elif found := OBJECT.match(line):
            if found[2]:
                names[found[1]] = found[2]
            own = names[found[1]] == program
        elif found := re.match(r"cob=\((\d+)\) (.*)$", line):
            names[found[1]] = found[2]
        elif line.startswith("calls="):
            skip = True  # the next line is what the callee costs, which has lines of its own
        elif found := COST.match(line):
            if own and not skip:
                total += int(found[1])
            skip = False
    return None if operation is None else (operation, total)


def count(program):
    """The own instructions of every operation that bench_counted does: {name: count}."""
    program = str(pathlib.Path(program).resolve())
    # The same processor features everywhere, and no environment that moves the stack.
    environment = {"PATH": os.environ["PATH"], "LC_ALL": "C", "LD_BIND_NOW": "1"}
    with tempfile.TemporaryDirectory() as folder:
        subprocess.run(
            ["valgrind", "--tool=callgrind", "--collect-atstart=no", "--quiet"]
            + [f"--callgrind-out-file={folder}/out", program],
            check=True,
            env=environment,
        )
        dumps = [
            own_instructions(path.read_text(), program) for path in pathlib.Path(folder).iterdir()
        ]
    return dict(dump for dump in dumps if dump is not None)


def growth(counted, baseline):
    """What needs more than in the baseline, as lines for people; what is not there is told too."""
    problems = []
    for name in sorted(counted.keys() | baseline.keys()):
        if name not in baseline:
            problems.append(f"{name}: not in the baseline")
        elif name not in counted:
            problems.append(f"{name}: in the baseline only")
        else:
            problems += compare(name, counted[name], baseline[name])
    return problems


def compare(name, now, before):
    for what in ("instructions", "blocks", "bytes"):
        allowed = before[what] * (1 + ALLOWED_GROWTH) if what == "instructions" else before[what]
        if now[what] > allowed:
            yield f"{name}: {now[what]} {what}, {before[what]} in the baseline"


def read_baseline(path):
    return json.loads(path.read_text())


def write_baseline(path, counted):
    """One operation per line, so that a change of the file shows which."""
    rows = [f"  {json.dumps(name)}: {json.dumps(counts)}" for name, counts in counted.items()]
    path.write_text("{\n" + ",\n".join(rows) + "\n}\n")
