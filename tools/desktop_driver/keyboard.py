"""The keyboard of a person who uses nothing else: keys, and where they go."""
from .waiting import wait_until


def focused_below(control):
    """The innermost control that has the keyboard focus; None when there is none.

    Of a list it is the list, not its cell.
    """
    for child in control.children():
        if not child.showing:
            continue
        inner = None if child.role == "table" else focused_below(child)
        if inner is not None or child.focused:
            return inner or child
    return None


class Keyboard:
    """Keys for one window of the program."""

    def __init__(self, managed, window):
        self._managed = managed
        self._window = window
        managed.focus()

    def press(self, *keys):
        self._managed.press_keys(*keys)

    def type(self, text):
        self._managed.type(text)

    @property
    def focus(self):
        """The control that has the focus; waits for one."""
        return wait_until(lambda: focused_below(self._window), "a control with the focus")

    def wait_for_focus(self, control):
        wait_until(lambda: control.focused, lambda: f"the focus on {control!r}, not {self.focus!r}")

    def press_until_moved(self, key):
        """Presses a key that moves the focus, and gives the control that it went to."""
        before = self.focus
        self.press(key)
        what = f"the focus to leave {before!r} by {key}"
        wait_until(lambda: focused_below(self._window) not in (None, before), what)
        return self.focus

    def walk(self, key, most=20):
        """Presses a key until the focus is where it was; gives the controls it went to, in order.

        The last of them is the one that it began at.
        """
        start = self.focus
        visited = []
        while not visited or visited[-1] != start:
            visited.append(self.press_until_moved(key))
            if len(visited) == most:
                raise AssertionError(f"no way back to {start!r} by {key}: {visited}")
        return visited

    def go_to(self, control, key="Tab"):
        """Moves the focus to a control as a person does, with the Tab key."""
        start = self.focus
        while not control.focused:
            if self.press_until_moved(key) == start:
                raise AssertionError(f"{control!r} is not reached by {key}")
