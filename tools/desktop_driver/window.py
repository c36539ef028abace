"""The program's windows as the accessibility tree shows them.

Works on any accessible object: the application, one of its windows, a control. Names, texts and
states are asked for afresh at each look, so what is read is what the program shows now.
"""
import collections

import gi

gi.require_version("Atspi", "2.0")
from gi.repository import Atspi, GLib  # noqa: E402  (needs the version above)
import pyatspi  # noqa: E402

from .waiting import wait_until  # noqa: E402

# How long a question to the program may take, in ms. It does not answer while it asks scanners or
# registers, up to 27 s for a silent one. A question that reaches it while it is still connecting to
# the bus is never answered, so the first ones are given up soon and asked again. On a busy machine
# that is too soon for any answer, so each time they get a little longer.
ANSWER_MS = 60000
FIRST_ANSWER_MS = 300
LONGER = 1.2
LONGEST_FIRST_ANSWER_MS = 5000


class Openings:
    """Counts the windows that programs open, those included that are gone before anybody looks.

    The programs tell the bus of each, and what they told waits to be read here.
    """

    def __init__(self):
        self._counts = collections.Counter()
        self._listener = None

    def watch(self):
        """Has programs tell of the windows that they open from now on."""
        if self._listener is None:
            self._listener = Atspi.EventListener.new(self._note)
            Atspi.EventListener.register(self._listener, "window:create")

    def count(self, pid):
        """The number of windows that a process opened since then."""
        while GLib.MainContext.default().iteration(False):
            pass
        return self._counts[pid]

    def _note(self, event):
        self._counts[event.source.get_process_id()] += 1


openings = Openings()


class Control:
    """One accessible object of the program."""

    def __init__(self, accessible):
        self._accessible = accessible

    @property
    def accessible(self):
        """The object of the accessibility library, without what it remembers of earlier looks."""
        self._accessible.clear_cache()
        return self._accessible

    def __repr__(self):
        return f"<{self.role} {self.name!r}>"

    def __eq__(self, other):
        return isinstance(other, Control) and self._accessible == other._accessible

    def __hash__(self):
        return hash(self._accessible)

    @property
    def name(self):
        return self.accessible.name

    @property
    def role(self):
        name = self.accessible.getRoleName()
        # Newer accessibility buses (at-spi2-core 2.56 in Debian 13) have shortened this one.
        return "push button" if name == "button" else name

    @property
    def description(self):
        """What is said of it beyond its name."""
        return self.accessible.description

    def related(self, relation):
        """The controls that a relation leads to, for instance pyatspi.RELATION_LABELLED_BY."""
        found = [r for r in self.accessible.getRelationSet() if r.getRelationType() == relation]
        return [Control(r.getTarget(i)) for r in found for i in range(r.getNTargets())]

    @property
    def text(self):
        """The text of an entry or label."""
        return self.accessible.queryText().getText(0, -1)

    @property
    def value(self):
        """The number that a progress bar shows."""
        return self.accessible.queryValue().currentValue

    def has_state(self, state):
        return self.accessible.getState().contains(state)

    @property
    def sensitive(self):
        return self.has_state(pyatspi.STATE_SENSITIVE)

    @property
    def checked(self):
        return self.has_state(pyatspi.STATE_CHECKED)

    @property
    def showing(self):
        return self.has_state(pyatspi.STATE_SHOWING)

    @property
    def focused(self):
        return self.has_state(pyatspi.STATE_FOCUSED)

    @property
    def modal(self):
        return self.has_state(pyatspi.STATE_MODAL)

    def children(self):
        """The direct children, without those that vanish while they are read."""
        found = []
        accessible = self.accessible
        for index in range(accessible.childCount):
            child = accessible.getChildAtIndex(index)
            if child is not None:
                found.append(Control(child))
        return found

    def all(self, role=None, name=None):
        """Every control below this one with that role and name, in reading order.

        The cells of a table are not looked through: rows() reads them.
        """
        found = []
        if self.role == "table":
            return found
        for child in self.children():
            if (role is None or child.role == role) and (name is None or child.name == name):
                found.append(child)
            found.extend(child.all(role, name))
        return found

    def find(self, role, name=None, seconds=20.0):
        """The first control with that role and name; waits for it to appear."""
        what = f"a {role} named {name!r} below {self!r}"
        return wait_until(lambda: self.peek(role, name), what, seconds)

    def peek(self, role, name=None):
        """As find, but gives None when there is no such control now."""
        try:
            found = self.all(role, name)
        except GLib.Error:  # a window went away while it was read
            return None
        return found[0] if found else None

    def press(self):
        """Does what a click on a button, a check box or a menu item does."""
        wait_until(lambda: self.sensitive and self.showing, f"{self!r} to be ready for a click")
        self.accessible.queryAction().doAction(0)

    def type_over(self, text):
        """Replaces an entry's text, through the entry's own input handling."""
        self.accessible.queryEditableText().setTextContents(text)

    def grab_focus(self):
        """Gives it the keyboard, within its window."""
        self.accessible.queryComponent().grabFocus()
        wait_until(lambda: self.focused, f"{self!r} to have the keyboard")

    def select_page(self, index):
        """Makes a page of a notebook (role "page tab list") the current one."""
        self.accessible.querySelection().selectChild(index)
        wait_until(lambda: self.accessible.querySelection().isChildSelected(index), f"page {index}")

    def rows(self):
        """The texts of a table, a list of texts per row."""
        table = self.accessible.queryTable()
        return [
            [cell_text(table.getAccessibleAt(row, column)) for column in range(table.nColumns)]
            for row in range(table.nRows)
        ]

    def titles(self):
        """The titles of a table's columns."""
        table = self.accessible.queryTable()
        return [table.getColumnHeader(column).name for column in range(table.nColumns)]

    def select_row(self, row):
        """Puts the cursor of a table on a row, as a click on it does."""
        table = self.accessible.queryTable()
        table.getAccessibleAt(row, 0).queryComponent().grabFocus()
        wait_until(lambda: table.isRowSelected(row), f"row {row} to be selected")

    def place(self):
        """Position and size on the screen: x, y, width, height."""
        box = self.accessible.queryComponent().getExtents(pyatspi.DESKTOP_COORDS)
        return box.x, box.y, box.width, box.height


def cell_text(cell):
    """The text of a table's cell; one that also holds an icon has its text in a part of it."""
    parts = [cell.getChildAtIndex(index) for index in range(cell.childCount)]
    return cell.name or "".join(part.name or "" for part in parts)


def application(pid, seconds=60.0):
    """The running program with this process id, once it answers on the accessibility bus."""
    openings.watch()
    patience = FIRST_ANSWER_MS

    def programs():
        try:
            return pyatspi.Registry.getDesktop(0).childCount
        except GLib.Error:  # the registry is busy
            return 0

    def look():
        nonlocal patience
        Atspi.set_timeout(int(patience), int(patience))
        patience = min(patience * LONGER, LONGEST_FIRST_ANSWER_MS)
        for index in range(programs()):
            try:
                child = pyatspi.Registry.getDesktop(0).getChildAtIndex(index)
                if child is None or child.get_process_id() != pid:
                    continue
                if child.getRoleName() == "application" and child.childCount > 0:
                    return Control(child)
            except GLib.Error:  # this one is still starting, or another one is just ending
                continue
        return None

    try:
        return wait_until(look, f"process {pid} on the accessibility bus", seconds)
    finally:
        Atspi.set_timeout(ANSWER_MS, ANSWER_MS)
