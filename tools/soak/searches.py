"""Cycles of Search on a running program, with other scanners on the network in each of them.

Needs the debug log on standard error: its lines tell how a search went.
"""
import os
import pathlib
import re
import tempfile
import time

from desktop_driver.scanners import Scanners
from desktop_driver.waiting import wait_until
from gi.repository import GLib

from .resources import Watch

CANCELLED = "ID_SEARCH_CANCEL"
SURVEY_DONE = "search_thread bCancel=0"

# What GTK and the sanitizers write when something is wrong.
COMPLAINTS = re.compile(r"CRITICAL|WARNING|ERROR: \w+Sanitizer|runtime error:|terminate called")

# Every dialog leaves its widgets behind (docs/kept-behaviours.md), and each is known to the
# accessibility tree of the program.
MEMORY_PER_CYCLE = 32


def environment():
    """What the program's environment needs for its memory to be watched in a sanitizer build.

    Leaks are GTK's, and what every dialog leaves behind. Freed memory that is kept to recognise its
    use would look like growth. With GLib's own allocator the thread sanitizer would take a block
    that goes from thread to thread for a race.
    """
    options = [os.environ.get("ASAN_OPTIONS"), "detect_leaks=0", "quarantine_size_mb=8"]
    return {"ASAN_OPTIONS": ":".join(filter(None, options)), "G_SLICE": "always-malloc"}


class ErrorLines:
    """What the program writes to standard error, read piece by piece."""

    def __init__(self, tool):
        self._tool = tool
        self._begin = 0
        self._text = ""

    def start_cycle(self):
        """Forgets what there is so far."""
        self._text = ""
        self.update()
        self._text = ""

    def update(self):
        piece = self._tool.errors_from(self._begin)
        self._begin += len(piece)
        self._text += piece.decode("utf-8", "replace")
        return self._text

    def count(self, words):
        return self.update().count(words)


class Searches:
    """Drives Search of a main window whose Network page is in front.

    The random numbers decide about scanners and moments. The count of cycles in `watch` is of all
    kinds together.
    """

    def __init__(self, window, simulator, random, first_cycles):
        self._window = window
        self._simulator = simulator
        self._random = random
        self._lines = ErrorLines(window.tool)
        self._cycle = 0
        self._rows = sorted(window.devices.rows())
        # Seconds from the end of the survey to a click that half the searches outrun.
        self._last_moment = 1.0
        self.watch = Watch(window.tool.process.pid, first_cycles, MEMORY_PER_CYCLE)
        self.cancelled = 0
        self.finished = 0

    def finish_one(self):
        """A search that nobody cancels."""
        with self._new_scanners() as rows:
            self._window.run_search()
            self._check(rows)
        assert not self._lines.count(CANCELLED), "a search that nobody cancelled was cancelled"

    def cancel_one(self):
        """A search that is cancelled at a random moment, unless it ends before that."""
        with self._new_scanners() as rows:
            began = time.monotonic()
            dialog = self._window.begin_search()
            click = dialog.find("push button").accessible.queryAction()
            adapt = self._wait_for_moment(began)
            outrun = self._click(click)
            self._window.wait_for_no_dialog()
            if adapt:
                self._last_moment += -0.001 if outrun else 0.001
            self._check(rows)

    def _wait_for_moment(self, began):
        """Lets the time until the cancel pass; returns whether it is a last moment."""
        kind = self._random.choice(["first", "any", "any", "last", "last"])
        if kind == "first":
            time.sleep(self._random.uniform(0, 0.03))
        elif kind == "any":
            until = began + self._random.uniform(0, 2.5)
            time.sleep(max(0.0, until - time.monotonic()))
        else:
            wait_until(lambda: self._lines.count(SURVEY_DONE), "the survey to end", pause=0.001)
            time.sleep(max(0.0, self._last_moment + self._random.uniform(-0.004, 0.004)))
        return kind == "last"

    def _click(self, click):
        """Clicks Cancel if it is still there; returns whether the search had ended before."""
        try:
            click.doAction(0)
        except GLib.Error:  # the dialog is gone
            pass
        self._window.wait_for_no_dialog()
        return not self._lines.count(CANCELLED)

    def _new_scanners(self):
        return NewScanners(self, self._simulator, self._random)

    def start_cycle(self):
        """Counts a cycle and gives its number."""
        self._cycle += 1
        self._lines.start_cycle()
        return self._cycle

    def _check(self, rows):
        """The list right after a search: the old one if it was cancelled, the new one if not."""
        shown = sorted(self._window.devices.rows())
        errors = self._lines.update()
        cancelled = CANCELLED in errors
        wanted = self._rows if cancelled else sorted(rows)
        kind = "cancelled" if cancelled else "finished"
        assert shown == wanted, f"cycle {self._cycle}, {kind}: {shown} instead of {wanted}"
        complaints = [line for line in errors.splitlines() if COMPLAINTS.search(line)]
        assert not complaints, f"cycle {self._cycle}: {complaints[0]}\n{errors}"
        self._rows = wanted
        self.cancelled += cancelled
        self.finished += not cancelled
        self.watch.check()


class NewScanners:
    """Starts none to four scanners for one cycle; gives their rows in the program's list."""

    def __init__(self, searches, simulator, random):
        self._searches = searches
        self._simulator = simulator
        self._random = random

    def __enter__(self):
        cycle = self._searches.start_cycle()
        self._folder = tempfile.TemporaryDirectory()
        scenario = pathlib.Path(self._folder.name) / "scenario.conf"
        rows = []
        text = "[defaults]\nnetwork = 10.77.0.0/24\nmodel = T55\n"
        hosts = self._random.sample(range(101, 255), self._random.randrange(5))
        for number, host in enumerate(hosts):
            name, address = f"Unit-{cycle}-{number}", f"10.77.0.{host}"
            text += f"[scanner {name}]\naddress = {address}\n"
            for question in ("discovery", "model", "vendor", "name"):
                text += f"delay.{question} = {self._random.randrange(100)}\n"
            rows.append(["Veltrana T55", name, address])
        scenario.write_text(text)
        if not rows:
            self._scanners = None
            return rows
        self._scanners = Scanners(self._simulator, "--scenario", scenario)
        return rows

    def __exit__(self, *failure):
        if self._scanners is not None:
            self._scanners.__exit__(*failure)
        self._folder.cleanup()
