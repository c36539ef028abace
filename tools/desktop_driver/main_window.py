"""The main window's parts by their place in it, whatever language their texts are in."""
from gi.repository import GLib

from . import program
from .waiting import wait_until
from .window import Control, openings

GENERAL, NETWORK = 0, 1


class MainWindow(Control):
    """The main window of a running program, ready for use."""

    def __init__(self, tool, title=program.TITLE):
        super().__init__(tool.main_window(title).accessible)
        self.tool = tool
        self.tabs = self.find("page tab list")
        self.general, self.network = self.tabs.children()
        self.scan_entry, self.ocr_entry = self.general.all("text")
        self.scan_browse, self.ocr_browse = self.general.all("push button")
        (self.name_entry,) = self.network.all("text")
        (self.list_up,) = self.network.all("check box")
        (self.devices,) = self.network.all("table")
        self.search, self.configure = self.network.all("push button")
        self.apply, self.ok, self.cancel = self.all("push button")[-3:]

    @property
    def page(self):
        """The number of the current page."""
        selection = self.tabs.accessible.querySelection()
        return next(index for index in (GENERAL, NETWORK) if selection.isChildSelected(index))

    def show_page(self, page):
        self.tabs.select_page(page)

    def scanner_names(self):
        """The second column of the list of scanners."""
        return [name for _model, name, _address in self.devices.rows()]

    def begin_search(self):
        """Presses Search and gives the dialog that opens. Needs the Network page."""
        self._press_search()
        return self.wait_for_dialog()

    def run_search(self):
        """Presses Search and waits until the search is over. Needs the Network page."""
        self._press_search()
        self.wait_for_no_dialog()

    def _press_search(self):
        """Presses Search and waits until its dialog was there: it may be gone again."""
        pid = self.tool.process.pid
        before = openings.count(pid)
        self.search.press()
        wait_until(lambda: openings.count(pid) > before, "the search dialog to open")

    def wait_for_apply(self, seconds=60.0):
        """Presses Apply, waits until it is done and its button insensitive."""
        self.apply.press()
        wait_until(lambda: not self.apply.sensitive, "Apply to be done", seconds)

    def other_windows(self):
        """The program's windows besides this one, the hidden ones not counted."""
        return wait_until(self._look_for_others, "the windows to stay while they are read")[0]

    def _look_for_others(self):
        """The other windows in a tuple; None when one went away while it was read."""
        try:
            children = self.tool.application().children()
            return ([child for child in children if child.role != "frame" and child.showing],)
        except GLib.Error:
            return None

    def wait_for_dialog(self, role="dialog"):
        """The one other window of the program, once it is there."""

        def look():
            others = self.other_windows()
            return others if len(others) == 1 else None

        (dialog,) = wait_until(look, f"one {role} over the main window")
        assert dialog.role == role, f"a {role} was expected over the main window, not {dialog!r}"
        return dialog

    def wait_for_no_dialog(self, seconds=60.0):
        wait_until(lambda: not self.other_windows(), "no window over the main window", seconds)
