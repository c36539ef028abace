"""Runs the benchmarks that are built and keeps what they say, see script/bench."""
import argparse
import json
import os
import pathlib
import shutil
import subprocess
import sys
import tempfile

TOP = pathlib.Path(__file__).resolve().parents[1]
sys.path[:0] = [str(TOP / "tools"), str(TOP / "bench")]

import instructions  # noqa: E402  (needs the line above)
import lab_network  # noqa: E402
import lab_window  # noqa: E402
import machine  # noqa: E402
import peers  # noqa: E402
import report  # noqa: E402
import timed  # noqa: E402
from settings import FULL, QUICK, Programs  # noqa: E402

DOCS = TOP / "docs"
BASELINE = TOP / "bench" / "baseline.json"

# What runs inside the lab, with the options of script/lab that it needs.
LAB_PARTS = {
    "network": (lab_network, []),
    "peers": (peers, []),
    "window": (lab_window, ["--display"]),
}


def measure_operations(programs, settings):
    def run(program):
        return timed.own(program, settings.seconds, settings.repetitions)

    operations = run(programs.bench / "bench_timed")
    for name, count in instructions.count(programs.bench / "bench_counted").items():
        operations[name]["instructions"] = count
    return {"operations": operations, "peers": peers.codecs(programs, settings, run)}


def counts_of(results):
    """What the baseline holds of each operation."""
    return {
        name: {what: figures[what] for what in ("instructions", "blocks", "bytes")}
        for name, figures in results["operations"].items()
    }


def in_lab(part, arguments):
    """Runs this program again, inside the lab, for one part."""
    command = [TOP / "script" / "lab", *LAB_PARTS[part][1], "--", sys.executable, __file__]
    command += ["--build", arguments.build, "--results", arguments.results, "--lab-part", part]
    subprocess.run(
        [str(word) for word in command] + ["--quick"] * arguments.quick, check=True, cwd=TOP
    )


def keep(folder, part, results):
    folder.mkdir(parents=True, exist_ok=True)
    (folder / f"{part}.json").write_text(json.dumps(results, indent=1))


def check_counts(results):
    """Exit status of the comparison with the baseline."""
    problems = instructions.growth(counts_of(results), instructions.read_baseline(BASELINE))
    for problem in problems:
        print(f"bench: {problem}", file=sys.stderr)
    if problems:
        print("bench: if that is meant: script/bench --baseline", file=sys.stderr)
    return 1 if problems else 0


def read_arguments():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("--build", type=pathlib.Path, required=True)
    parser.add_argument("--results", type=pathlib.Path, required=True)
    parser.add_argument("--quick", action="store_true")
    parser.add_argument("--baseline", action="store_true")
    parser.add_argument("--report", action="store_true")
    parser.add_argument("--lab-part", choices=LAB_PARTS)
    return parser.parse_args()


def write_report(arguments):
    """Fills the page, or, for a brief run, a copy that nobody reads."""
    if not arguments.quick:
        report.write(arguments.results, DOCS, DOCS / "images")
        return
    with tempfile.TemporaryDirectory() as copy:
        shutil.copy(DOCS / "performance.md", copy)
        report.write(arguments.results, pathlib.Path(copy), pathlib.Path(copy))


def measure_all(arguments, programs, settings):
    """Exit status: 1 when something needs more than in the baseline."""
    print("operations", flush=True)
    operations = measure_operations(programs, settings)
    keep(arguments.results, "operations", operations)
    for part in LAB_PARTS:
        print(part, flush=True)
        in_lab(part, arguments)
    described = machine.describe(programs.build)
    described["Runs"] = settings.describe()
    keep(arguments.results, "run", described)
    write_report(arguments)
    return check_counts(operations)


def main():
    arguments = read_arguments()
    programs, settings = Programs(arguments.build.resolve()), QUICK if arguments.quick else FULL
    if arguments.lab_part:
        module = LAB_PARTS[arguments.lab_part][0]
        keep(arguments.results, arguments.lab_part, module.measure(programs, settings))
    elif arguments.baseline:
        instructions.write_baseline(BASELINE, counts_of(measure_operations(programs, QUICK)))
    elif arguments.report:
        write_report(arguments)
    else:
        return measure_all(arguments, programs, settings)
    return 0


if __name__ == "__main__":
    os.umask(0o022)
    try:
        sys.exit(main())
    except report.NoResults as problem:
        print(f"bench: {problem}", file=sys.stderr)
        sys.exit(2)
    except (RuntimeError, subprocess.CalledProcessError) as failure:
        sys.exit(f"bench: {failure}")
