"""What all tests of the whole program share.

Each module runs in a lab of its own (script/lab --accessibility). Every test finds the files of a
freshly installed machine, and whatever it starts ends with it.
"""
import contextlib
import os
import pathlib
import re
import shlex
import shutil
import signal
import socket
import subprocess
import sys
import time

import pytest

TOP = pathlib.Path(__file__).resolve().parents[2]
sys.path.insert(0, str(TOP / "tools"))

pytest.register_assert_rewrite("desktop_driver.main_window", "hostile", "hostile_answers")
from desktop_driver import main_window, program, scanners  # noqa: E402  (needs the lines above)
from desktop_driver import xwindows  # noqa: E402  (needs the lines above)
from packet_cannon import office as cannon  # noqa: E402  (needs the lines above)
from viewers import Viewers  # noqa: E402  (needs the lines above)

# What the program, and GTK for it, leave in the home folder.
HOME_LEFTOVERS = (
    "Veltrana",
    ".VeltranaDVX",
    ".config/gtk-2.0",
    ".local/share/recently-used.xbel",
)
# GTK and the sanitizers complain on standard error, and nowhere else. No fault of the program's are
# a locale that the machine does not have, and a window that a test destroys.
COMPLAINTS = re.compile(r"CRITICAL|Sanitizer|runtime error:|: G[a-zA-Z-]+WARNING")
EXCUSES = re.compile(r"Locale not supported|unexpectedly destroyed")
# The exit status of a program in which a sanitizer or valgrind found something, and of crashes.
FOUND = 86
CRASHES = (signal.SIGABRT, signal.SIGBUS, signal.SIGFPE, signal.SIGILL, signal.SIGSEGV)
FAULTS = {FOUND, *(-number for number in CRASHES)}
# Where a test keeps the programs that it started.
STARTED = pytest.StashKey()


def pytest_configure(config):
    # pyatspi calls the accessibility library by names that it calls old.
    config.addinivalue_line("filterwarnings", "ignore:Atspi:DeprecationWarning")


@pytest.hookimpl(hookwrapper=True)
def pytest_runtest_makereport(item, call):
    """Shows with a failed test what its programs wrote so far."""
    report = (yield).get_result()
    if report.failed and call.when == "call":
        for tool in item.stash.get(STARTED, []):
            title = f"standard error of program {tool.process.pid}, status {tool.process.poll()}"
            report.sections.append((title, tool.errors))


def pytest_sessionstart():
    """These tests empty folders of the user, so they run on the lab's private ones only."""
    if socket.gethostname() != "lab-desk" or not pathlib.Path("/tmp/.lab/office").exists():
        pytest.exit("run these tests inside script/lab --accessibility", returncode=2)


def remove(path):
    if path.is_dir() and not path.is_symlink():
        shutil.rmtree(path)
    else:
        path.unlink(missing_ok=True)


def clean_files():
    for name in HOME_LEFTOVERS:
        remove(program.home() / name)
    for path in program.SHARE.parent.iterdir():
        remove(path)
    program.LOG.unlink(missing_ok=True)


@pytest.fixture(autouse=True)
def fresh_machine():
    """No settings, no language file, no debug switch, no log."""
    clean_files()
    # Every desktop has this one, and GTK expects it.
    (program.home() / ".local" / "share").mkdir(parents=True, exist_ok=True)
    yield
    clean_files()


def with_checkers(environment):
    """A program's environment with what the sanitizers heed in it, in builds that have one.

    Leaks of GTK and fontconfig are told from ours by functions on the stack. Those libraries have
    no frame pointers to follow. The functions stand within ten calls, and looking further would make
    every allocation slow. What a test asks for itself goes before that.
    """
    own = {
        "ASAN_OPTIONS": f"exitcode={FOUND}:fast_unwind_on_malloc=0:malloc_context_size=10",
        "TSAN_OPTIONS": f"exitcode={FOUND}",
    }
    both = {**os.environ, **environment}
    return {**environment, **{name: f"{own[name]}:{both.get(name) or ''}" for name in own}}


def close_if_possible(tool):
    """Closes the program as its user does: leaks are looked for only when it ends by itself.

    One that is busy, or has a dialog open, stays as it is.
    """
    end = time.monotonic() + 20
    while tool.process.poll() is None and time.monotonic() < end:
        try:
            windows = xwindows.window_ids(tool.process.pid)
            if len(windows) != 1:
                return
            xwindows.ManagedWindow(windows[0], tool.process.pid).close()
        except RuntimeError:  # the window, or the whole display, has just gone
            return
        with contextlib.suppress(subprocess.TimeoutExpired):
            tool.process.wait(1)


def complaints_of(tool):
    """The lines of its standard error that must not be there."""
    lines = tool.errors.splitlines()
    return [line for line in lines if COMPLAINTS.search(line) and not EXCUSES.search(line)]


def check_end(tool):
    """Fails when a checker found something, GTK complained or the program crashed."""
    assert not complaints_of(tool), f"the program wrote:\n{tool.errors}"
    status = tool.process.returncode
    assert status not in FAULTS, f"the program ended with {status} and wrote:\n{tool.errors}"


@pytest.fixture
def start_program(request):
    """Starts the program, which must not crash, make GTK complain or lose memory by the end."""
    wrapper_of_all = shlex.split(os.environ.get("VELTRANA_WRAPPER", ""))
    started = request.node.stash[STARTED] = []
    with contextlib.ExitStack() as stack:

        def start(*arguments, environment=None, wrapper=()):
            tool = program.Program(
                os.environ["VELTRANA_PROGRAM"],
                arguments,
                with_checkers(environment or {}),
                [*wrapper, *wrapper_of_all],
            )
            started.append(stack.enter_context(tool))
            return tool

        yield start
        for tool in started:
            close_if_possible(tool)
        for tool in started:
            check_end(tool)


@pytest.fixture
def open_window(start_program):
    """Starts the program and gives its main window, once it can be used."""

    def open_it(*arguments, title=program.TITLE, **keywords):
        return main_window.MainWindow(start_program(*arguments, **keywords), title)

    return open_it


@pytest.fixture
def open_windows(start_program):
    """Opens several windows at once, so that their surveys run side by side.

    Takes the keywords of start_program for each and gives the windows in this order. The programs
    share their files, so this is for those that write none.
    """

    def open_them(programs):
        tools = [start_program(**keywords) for keywords in programs]
        return [main_window.MainWindow(tool) for tool in tools]

    return open_them


@pytest.fixture
def open_network_page(open_window):
    """As open_window, with the Network page in front."""

    def open_it(*arguments, **keywords):
        window = open_window(*arguments, **keywords)
        window.show_page(main_window.NETWORK)
        return window

    return open_it


@pytest.fixture
def open_german(open_window):
    """As open_window, with a language file of the given content for LANG=de_DE.UTF-8."""

    def open_it(content, title=program.TITLE):
        program.install_language("de_DE", content)
        # LANG alone decides; the C library gets a locale that every machine has.
        environment = {"LANG": "de_DE.UTF-8", "LC_ALL": "C.UTF-8"}
        return open_window(environment=environment, title=title)

    return open_it


@pytest.fixture
def debug_lines():
    """Switches the debug log to standard error."""
    program.switch_debug_on("err")


@pytest.fixture
def start_scanners(tmp_path):
    """Starts simulated scanners: a number of usual ones, or those of a scenario's text or file.

    Those of a text have addresses from 10.77.0.101 on and the model T55, unless it says otherwise.
    """
    with contextlib.ExitStack() as stack:

        def start(which, *arguments, network="10.77.0.0/24"):
            if isinstance(which, int):
                words = ["--scanners", which, "--network", network]
            elif isinstance(which, pathlib.Path):
                words = ["--scenario", which]
            else:
                scenario = tmp_path / f"scenario-{time.monotonic_ns()}.conf"
                scenario.write_text(f"[defaults]\nnetwork = {network}\nmodel = T55\n{which}")
                words = ["--scenario", scenario]
            simulator = os.environ["VELTRANA_SCANNER_SIM"]
            return stack.enter_context(scanners.Scanners(simulator, *words, *arguments))

        yield start


@pytest.fixture
def viewers(tmp_path):
    """The programs that open web pages; none until the test adds one. See viewers.py."""
    folder = tmp_path / "usr-bin"
    folder.mkdir()
    return Viewers(folder)


@pytest.fixture
def office():
    """All scanners of the lab's office, which answer what the test's script says: office.script."""
    with cannon.Office() as peers:
        yield peers
