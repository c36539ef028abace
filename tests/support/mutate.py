"""Breaks a copy of the program, one patch after the other, and tests it. See script/mutate."""
import argparse
import dataclasses
import fcntl
import os
import queue
import re
import shutil
import subprocess
import sys
import threading
import time

import mutations

WORK = mutations.TOP / "build" / "mutate"
# Every copy is worked on under this name, in a mount namespace of its own: what is built for one is
# good for all.
TREE = WORK / "tree"
BUILD = "build/mutate"

# Optimising costs more time than it saves, and a break may cause a warning.
CONFIGURE = (
    "cmake --preset release -B build/mutate -DCMAKE_BUILD_TYPE= -DCMAKE_CXX_FLAGS=-O0"
    " -DVELTRANA_WARNINGS_AS_ERRORS=OFF"
).split()
ENVIRONMENT = {
    # The first case that fails is enough.
    "GTEST_FAIL_FAST": "1",
    "PYTEST_ADDOPTS": "-x",
    # Memory that is not set, or was released, holds a pattern instead of what it happens to hold.
    "GLIBC_TUNABLES": "glibc.malloc.perturb=165:glibc.malloc.tcache_count=0",
}

# Tests of the whole program have more than one target.
WHOLE_PROGRAM = [
    "VeltranaDVXTools",
    "dvx-probe",
    "e2e_show_arguments",
    "failing_threads",
    "scanner-sim",
]
# These look at the tree, of which a broken copy differs.
TREE_TESTS = "^(mutations_apply|docs_)"

# A step in namespaces of its own, in which the copy has the common name. When it is killed,
# everything that it started is gone, and nothing of it reaches the machine's network.
PRIVATE = (
    'mount --bind "$1" "$2" && ip link set lo up && cd "$2" && shift 2 || exit 125; "$@"; exit $?'
)

RESULT = re.compile(r"Test +#\d+: (.+?) \.{3,} *(Passed|[^*\n]*\*\*\*.*?) +([\d.]+) sec")
# The case that failed, or crashed, in a program that is one test.
CASE = re.compile(r"^(?:\[  FAILED  \]|FAILED) ([\w/]+\.\S+)", re.MULTILINE)
LAST_CASE = re.compile(r"^\[ RUN      \] (\w+\.\w+)", re.MULTILINE)


class CannotRun(Exception):
    """Nothing can be said about the tests."""


@dataclasses.dataclass
class Result:
    name: str
    how: str
    seconds: float
    output: str

    def __str__(self):
        if "Timeout" in self.how:
            return f"{self.name} (did not end)"
        cases = CASE.findall(self.output) or LAST_CASE.findall(self.output)[-1:]
        return self.name if not cases or cases[0] in self.name else f"{self.name} ({cases[0]})"


@dataclasses.dataclass
class TestRun:
    output: str
    ended: bool
    results: list
    failed: Result  # the first one, or None


class Copy:
    """A private copy of the working tree's tracked files, with its own build folder."""

    def __init__(self, number, parallel):
        self.folder = WORK / str(number)
        self.parallel = parallel
        self.log = None
        self.unbroken = {}  # contents of the files that are broken now

    def update(self):
        """Takes over the tracked files, touching only those that differ."""
        listed = subprocess.run(
            ["git", "ls-files", "-z"], cwd=mutations.TOP, check=True, capture_output=True
        ).stdout
        tracked = {name for name in os.fsdecode(listed).split("\0") if name}
        present = {name for name in tracked if (mutations.TOP / name).is_file()}
        for name in sorted(present):
            self.take(name)
        for path in list(self.folder.glob("**/*")):
            name = str(path.relative_to(self.folder))
            if path.is_file() and name not in present and not name.startswith("build/"):
                path.unlink()

    def take(self, name):
        source, target = mutations.TOP / name, self.folder / name
        content = source.read_bytes()
        if not target.is_file() or target.read_bytes() != content:
            target.parent.mkdir(parents=True, exist_ok=True)
            target.write_bytes(content)
        shutil.copymode(source, target)

    def clone(self, other):
        """Becomes the same as the other, times included, so that nothing is built again."""
        shutil.rmtree(self.folder, ignore_errors=True)
        subprocess.run(["cp", "-a", other.folder, self.folder], check=True)

    def run(self, command, limit=None, environment=None):
        """Returns the exit status, or None if it did not end in time, and the output."""
        flags = ["--mount", "--net", "--pid", "--fork", "--kill-child=KILL", "--mount-proc"]
        if os.getuid() != 0:
            flags += ["--user", "--map-root-user"]
        private = ["setpriv", "--pdeathsig", "KILL", "unshare", *flags]
        private += ["sh", "-c", PRIVATE, "sh", self.folder, TREE, *command]
        settings = {**os.environ, "CCACHE_BASEDIR": str(TREE), **(environment or {})}
        process = subprocess.Popen(
            private,
            env=settings,
            text=True,
            errors="replace",
            stdin=subprocess.DEVNULL,
            stdout=subprocess.PIPE,
            stderr=subprocess.STDOUT,
        )
        try:
            output, _ = process.communicate(timeout=limit)
            status = process.returncode
        except subprocess.TimeoutExpired:
            process.kill()
            output, _ = process.communicate()
            status = None
        if self.log is not None:
            self.log.write(f"$ {' '.join(map(str, command))}\n{output}\n")
            self.log.flush()
        return status, output

    def must_run(self, command):
        status, output = self.run(command)
        if status != 0:
            raise CannotRun(f"the unbroken copy: {' '.join(command)}:\n{output[-3000:]}")
        return output

    def build(self, targets):
        return self.run(["ninja", "-C", BUILD, "-j", str(self.parallel), *targets])

    def test(self, choice, limit=None, parallel=None):
        command = ["ctest", "--test-dir", BUILD, "--no-tests=error", "--output-on-failure"]
        command += ["--stop-on-failure", "--parallel", str(parallel or self.parallel * 3), *choice]
        status, output = self.run(command, limit, ENVIRONMENT)
        results = read_results(output)
        failed = [result for result in results if result.how != "Passed"]
        if status is not None and (status != 0) != bool(failed):
            raise CannotRun(f"{' '.join(command)}:\n{output[-3000:]}")
        return TestRun(output, status is not None, results, failed[0] if failed else None)

    def break_it(self, mutation):
        for file, text in list(mutation.broken(self.folder)):
            self.unbroken[file] = (self.folder / file).read_text()
            (self.folder / file).write_text(text)

    def mend(self):
        for file, text in self.unbroken.items():
            (self.folder / file).write_text(text)
        self.unbroken = {}


def read_results(output):
    """What CTest says of each test, at last. The output of one that failed follows its line."""
    lines = list(RESULT.finditer(output))
    ends = [line.start() for line in lines[1:]] + [len(output)]
    results = {}
    for line, end in zip(lines, ends):
        name, how, seconds = line.groups()
        if "Not Run" in how:
            raise CannotRun(f"{name} was not run")
        results[name] = Result(name, how, float(seconds), output[line.end() : end])
    return list(results.values())


def program(word):
    return word.split(".")[0]


def targets(words):
    """What must be built for these tests."""
    found = set()
    for word in words:
        if program(word).startswith("e2e_"):
            found.update(WHOLE_PROGRAM)
        else:
            found.add(program(word))
    return sorted(found)


def chosen(words):
    """CTest's regular expression for these tests. It knows few parentheses."""
    patterns = []
    for word in map(re.escape, words):
        patterns += [f"^{word}"] if "." in word else [f"^{word}$", f"^{word}[.]"]
    return "|".join(patterns)


class Tester:
    """Takes patches from the queue and tries them on one copy."""

    def __init__(self, copy, seconds, report, quick):
        self.copy = copy
        self.seconds = seconds
        self.report = report
        self.quick = quick

    def work(self, waiting):
        while True:
            try:
                mutation = waiting.get_nowait()
            except queue.Empty:
                return
            start = time.monotonic()
            try:
                result = self.attempt(mutation)
            except Exception as error:  # the others have their turn whatever becomes of this one
                result = "error", str(error)
            finally:
                self.copy.mend()
            self.report.add(mutation, *result, time.monotonic() - start)

    def attempt(self, mutation):
        path = WORK / "logs" / f"{mutation.name}.log"
        path.parent.mkdir(parents=True, exist_ok=True)
        with path.open("w") as self.copy.log:
            self.copy.break_it(mutation)
            status, output = self.copy.build(targets(mutation.noticed_by))
            if status != 0:
                return "error", "does not build: " + first_error(output)
            run = self.copy.test(["-R", chosen(mutation.noticed_by)], self.limit(mutation))
            if not run.ended:
                return "caught", "a test that did not end: " + unfinished(run.output)
            if run.failed and self.fails_again(run):
                return "caught", str(run.failed)
            if self.quick:
                return "missed", "by the tests that the patch names"
            return self.attempt_all(mutation)

    def attempt_all(self, mutation):
        """None of the expected tests has noticed: all tests of the tree."""
        status, output = self.copy.build(["all"])
        if status != 0:
            return "error", "does not build: " + first_error(output)
        run = self.copy.test(["-E", TREE_TESTS])
        if not run.failed or not self.fails_again(run):
            return "missed", "by all tests"
        # It proves something only if it passes without the break.
        self.copy.mend()
        self.copy.build(["all"])
        if self.fails_again(run):
            return "missed", f"by all tests; {run.failed} fails without the break, too"
        return "caught", f"{run.failed}, which the patch does not name"

    def fails_again(self, run):
        """A test that fails once may have been kept from a processor for too long."""
        return bool(self.copy.test(["-R", f"^{re.escape(run.failed.name)}$"]).failed)

    def limit(self, mutation):
        """Far more seconds than the tests have taken without the break."""
        usual = re.compile(chosen(mutation.noticed_by))
        return 60 + 4 * sum(taken for name, taken in self.seconds.items() if usual.search(name))


def first_error(output):
    lines = [line for line in output.splitlines() if re.search(r"error|undefined|FAILED", line)]
    return lines[-1] if lines else output[-300:]


def unfinished(output):
    started = re.findall(r"Start +\d+: (.+)", output)
    ended = {result.name for result in read_results(output)}
    return ", ".join(name for name in started if name not in ended)


class Report:
    def __init__(self):
        self.lock = threading.Lock()
        self.results = {}

    def add(self, mutation, result, by, seconds):
        with self.lock:
            self.results[mutation.name] = result
            print(f"{result:6}  {mutation.name}: {by}  ({seconds:.0f} s)", flush=True)

    def end(self):
        """Prints the sum and returns the exit status."""
        names = {kind: [] for kind in ("caught", "missed", "error")}
        for name, result in sorted(self.results.items()):
            names[result].append(name)
        for kind in ("missed", "error"):
            for name in names[kind]:
                print(f"{kind}: {name}")
        print(f"{len(names['caught'])} of {len(self.results)} caught")
        if names["error"]:
            return 2
        return 1 if names["missed"] else 0


def prepare(words, jobs):
    """Builds the copies and checks the tests on the unbroken one. Returns them and the seconds."""
    parallel = max(1, (os.cpu_count() or 1) // jobs)
    copies = [Copy(number, parallel) for number in range(1, jobs + 1)]
    first = copies[0]
    first.update()
    first.must_run(CONFIGURE)
    print("Building the unbroken copy", flush=True)
    first.must_run(["ninja", "-C", BUILD, "-j", str(os.cpu_count()), *targets(words)])
    for copy in copies[1:]:
        copy.clone(first)
    print("Testing the unbroken copy", flush=True)
    choice = ["--repeat", "until-pass:2", "-R", chosen(words)]
    run = first.test(choice, parallel=3 * (os.cpu_count() or 1))
    if run.failed:
        raise CannotRun(f"the unbroken copy fails {run.failed}:\n{run.failed.output[:3000]}")
    return copies, {result.name: result.seconds for result in run.results}


def try_all(selected, jobs, quick):
    words = sorted({word for mutation in selected for word in mutation.noticed_by})
    copies, seconds = prepare(words, jobs)
    report = Report()
    testers = [Tester(copy, seconds, report, quick) for copy in copies]
    waiting = queue.SimpleQueue()
    # Those that take long first, so that all copies have work until the end.
    for mutation in sorted(selected, key=testers[0].limit, reverse=True):
        waiting.put(mutation)
    threads = [
        threading.Thread(target=tester.work, args=[waiting], daemon=True) for tester in testers
    ]
    for thread in threads:
        thread.start()
    for thread in threads:
        thread.join()
    return report.end()


def arguments():
    parser = argparse.ArgumentParser(
        prog="script/mutate",
        description="Breaks the program in one place at a time, as the patches below"
        " tests/mutations say, and runs the tests that should notice; when they do not, all tests."
        " Works on copies of the tracked files in build/mutate, never in this folder. The output"
        " of builds and tests is in build/mutate/logs.",
        epilog="Status 1: a break was missed. Status 2: wrong usage, or a patch or the unbroken"
        " program is at fault.",
    )
    parser.add_argument("--list", action="store_true", help="only show the patches")
    parser.add_argument(
        "--quick", action="store_true", help="run only the tests that the patches name"
    )
    parser.add_argument(
        "--jobs", type=int, default=2, metavar="N", help="copies to work on side by side (2)"
    )
    parser.add_argument(
        "patterns", nargs="*", metavar="PATTERN", help="only patches whose name holds this"
    )
    options = parser.parse_args()
    if options.jobs < 1:
        parser.error(f"--jobs: not a number of copies: {options.jobs}")
    return options


def select(patterns):
    everything = mutations.read_mutations()
    for pattern in patterns:
        if not any(pattern in mutation.name for mutation in everything):
            raise CannotRun(f"no patch's name holds {pattern}")
    return [
        mutation
        for mutation in everything
        if not patterns or any(pattern in mutation.name for pattern in patterns)
    ]


def main():
    options = arguments()
    try:
        selected = select(options.patterns)
        if options.list:
            for mutation in selected:
                print(f"{mutation.name}: {mutation.breaks}")
            return 0
        TREE.mkdir(parents=True, exist_ok=True)
        with (WORK / "lock").open("w") as lock:
            try:
                fcntl.flock(lock, fcntl.LOCK_EX | fcntl.LOCK_NB)
            except BlockingIOError as error:
                raise CannotRun(f"another run works in {WORK}") from error
            return try_all(selected, options.jobs, options.quick)
    except (CannotRun, mutations.PatchError) as error:
        print(f"mutate: {error}", file=sys.stderr)
        return 2


if __name__ == "__main__":
    sys.exit(main())
