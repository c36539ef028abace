"""Running tests again and again beside a load: script/stress."""
import pathlib
import shutil
import signal
import subprocess
import sys
import tempfile

import pytest

TOP = pathlib.Path(__file__).resolve().parents[2]
sys.path.insert(0, str(TOP / "tools"))

from desktop_driver.waiting import wait_until  # noqa: E402  (needs the line above)

STRESS = str(TOP / "script" / "stress")
TESTS = """
add_test(good_one "/bin/true")
add_test(bad_one "/bin/sh" "-c" "echo this is why; exit 3")
set_tests_properties(good_one bad_one PROPERTIES WORKING_DIRECTORY "/")
add_test(endless_one "/bin/sleep" "98765")
add_test(told_one "/bin/sh" "-c" "[ \\"$TOLD\\" = yes ]")
set_tests_properties(told_one PROPERTIES ENVIRONMENT "TOLD=yes")
add_test(late_one "/bin/sleep" "98764")
set_tests_properties(late_one PROPERTIES TIMEOUT 1)
"""


@pytest.fixture
def build():
    """A build with tests of its own, among the others."""
    (TOP / "build").mkdir(exist_ok=True)
    folder = pathlib.Path(tempfile.mkdtemp(prefix="stress-test-", dir=TOP / "build"))
    (folder / "CTestTestfile.cmake").write_text(TESTS)
    yield folder
    shutil.rmtree(folder)


def stress(build, *arguments):
    return subprocess.run(
        [STRESS, "--preset", build.name, *arguments],
        capture_output=True,
        text=True,
        timeout=120,
        check=False,
    )


def started_by(parent):
    """The processes that a process started: number, parent's number and command line of each."""
    listing = subprocess.run(
        ["ps", "-eo", "pid=,ppid=,args="], capture_output=True, text=True, check=True
    )
    rows = [line.split(None, 2) for line in listing.stdout.splitlines()]
    return [row for row in rows if row[1] == str(parent)]


def is_there(pid):
    return pathlib.Path(f"/proc/{pid}").exists()


def test_every_run_is_told_and_counted(build):
    done = stress(build, "--runs", "3", "--load", "1", "^good_one$")
    lines = done.stdout.splitlines()
    assert [line.split()[:2] for line in lines[:3]] == [[str(n), "good_one"] for n in (1, 2, 3)]
    assert all(line.endswith("passed") for line in lines[:3])
    assert lines[3:] == ["3 passed, 0 failed"]
    assert (done.returncode, done.stderr) == (0, "")


def test_failures_are_kept_with_the_state_of_the_machine(build):
    done = stress(build, "--runs", "2", "--load", "0", "--jobs", "2", "^(good|bad)_one$")
    assert done.stdout.endswith("2 passed, 2 failed\n")
    assert done.returncode == 1
    (kept,) = (build / "stress").iterdir()
    assert sorted(folder.name for folder in kept.iterdir()) == ["bad_one-1", "bad_one-2"]
    assert (kept / "bad_one-1" / "output").read_text() == "this is why\n"
    assert "load average" in (kept / "bad_one-1" / "machine").read_text()


def test_tests_have_their_environment_and_their_time(build):
    assert stress(build, "--runs", "1", "--load", "0", "^told_one$").returncode == 0
    done = stress(build, "--runs", "1", "--load", "0", "^late_one$")
    assert "FAILED (not over within 1 s)" in done.stdout


@pytest.mark.parametrize("number", [signal.SIGINT, signal.SIGTERM, signal.SIGKILL])
def test_everything_ends_with_it(build, number):
    running = subprocess.Popen(
        [STRESS, "--preset", build.name, "--load", "2", "^endless_one$"],
        stdout=subprocess.DEVNULL,
        stderr=subprocess.DEVNULL,
    )

    def started():
        found = started_by(running.pid)
        return found if any("sleep 98765" in row[2] for row in found) else None

    pids = [row[0] for row in wait_until(started, "the test and the load", seconds=60)]
    assert len(pids) == 3
    running.send_signal(number)
    running.wait(timeout=60)
    wait_until(lambda: not any(map(is_there, pids)), "the end of all that ran", seconds=60)


@pytest.mark.parametrize(
    "arguments, text",
    [
        (("--runs", "0", "good"), "--runs: not 1 or more: 0"),
        (("nothing_like_it",), "no such test: nothing_like_it"),
        (("(",), "TEST-PATTERN:"),
    ],
)
def test_mistakes_are_named_and_exit_with_2(build, arguments, text):
    done = stress(build, *arguments)
    assert done.returncode == 2
    assert text in done.stderr
