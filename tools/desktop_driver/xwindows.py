"""The program's windows as the X server and the window manager know them."""
import contextlib
import os
import pathlib
import platform
import re
import signal
import subprocess

from .waiting import wait_until

# Of _MOTIF_WM_HINTS: the flag that the functions are meant, and two of the functions.
MOTIF_FUNCTIONS = 1
MOTIF_ALL_BUT = 1
MOTIF_CLOSE = 32

# The numbers of poll(2), ppoll(2), restart_syscall(2) and epoll_wait(2), which processors have in ways
# of their own.
POLL, PPOLL, RESTARTED, EPOLL = {
    "x86_64": (7, 271, 219, 232),
    "i686": (168, 414, 0, 256),
    "aarch64": (None, 73, 128, 22),
    "s390x": (168, 302, 7, 249),
}[platform.machine()]
# Two numbers of 64 bits: the seconds and nanoseconds of ppoll(2).
TIME_SIZE = 16


def run(*command):
    """What a command prints; raises with its words when it fails, or when it hangs."""
    done = subprocess.run(
        command, capture_output=True, text=True, errors="replace", check=False, timeout=60
    )
    if done.returncode != 0:
        raise RuntimeError(f"{' '.join(command)}: status {done.returncode}: {done.stderr.strip()}")
    return done.stdout


def listing():
    """The windows of all programs; None when one went away while they were listed."""
    try:
        return run("wmctrl", "-lp").splitlines()
    except RuntimeError as failure:
        if "BadWindow" not in str(failure):
            raise
        return None


def window_ids(pid):
    """The windows of a process in the order in which the window manager got them."""
    lines = None
    while lines is None:
        lines = listing()
    rows = [line.split(None, 4) for line in lines]
    return [row[0] for row in rows if row[2] == str(pid)]


def system_call(pid):
    """The number and the arguments of the system call that a process is in; empty outside of one."""
    words = pathlib.Path(f"/proc/{pid}/syscall").read_text().split()
    return [int(word, 0) for word in words] if len(words) > 3 else []


def memory(pid, address, size):
    with open(f"/proc/{pid}/mem", "rb") as file:
        file.seek(address)
        return file.read(size)


def waits_for_events(pid):
    """Whether a stopped process has nothing to do until something happens.

    The third argument of a wait is how long it may take: the milliseconds, or where the time stands.
    A call that goes on after the process was stopped has the arguments of the first.
    """
    match system_call(pid):
        case [number, _, _, milliseconds, *_] if number in (POLL, RESTARTED):
            return milliseconds != 0
        case [number, _, _, 0, *_] if number == PPOLL:
            return True
        case [number, _, _, time, *_] if number == PPOLL:
            return any(memory(pid, time, TIME_SIZE))
    return False


def display_is_read():
    """Whether the X server and its clients have read all that they sent each other."""
    # protocol, bytes not read, bytes not sent, own path, own inode, peer's path, peer's inode
    rows = [row.split() for row in run("ss", "-xH", "state", "established").splitlines()]
    server = {row[4] for row in rows if "/.X11-unix/" in row[3]}
    return all(row[1] == "0" for row in rows if row[4] in server or row[6] in server)


def display_is_quiet():
    """Whether the X server and the window manager have nothing to do and nothing to tell anyone."""
    waits = {"openbox": (POLL, PPOLL, RESTARTED), "Xvfb": (EPOLL,)}
    for path in pathlib.Path("/proc").glob("[0-9]*"):
        with contextlib.suppress(FileNotFoundError, ProcessLookupError):  # it has just ended
            name = (path / "comm").read_text().strip()
            call = system_call(path.name) if name in waits else []
            if name in waits and (not call or call[0] not in waits[name]):
                return False
    return display_is_read()


@contextlib.contextmanager
def held(pid):
    """Stops a process that has answered to all that happened; lets it go on afterwards."""

    def hold():
        os.kill(pid, signal.SIGSTOP)
        wait_until(lambda: ") T " in pathlib.Path(f"/proc/{pid}/stat").read_text(), "the stop")
        if waits_for_events(pid) and display_is_quiet():
            return True
        os.kill(pid, signal.SIGCONT)
        return False

    try:
        wait_until(hold, f"process {pid} to wait for events")
        yield
    finally:
        os.kill(pid, signal.SIGCONT)


class ManagedWindow:
    """One window that the window manager manages."""

    def __init__(self, number, pid):
        self.number = number
        self._pid = pid

    @classmethod
    def main_of(cls, tool):
        """The first window of a running program."""
        pid = tool.process.pid
        return cls(wait_until(lambda: window_ids(pid), "the first window")[0], pid)

    @classmethod
    def dialog_of(cls, tool):
        """The second window of a running program."""
        pid = tool.process.pid
        return cls(wait_until(lambda: window_ids(pid)[1:], "a second window")[0], pid)

    def read(self, name):
        """What xprop shows of a property; None when the window has none of that name."""
        text = run("xprop", "-id", self.number, "-notype", name)
        return text.partition("=")[2].strip() if "=" in text else None

    @property
    def title(self):
        """The title; None when it was never set."""
        text = self.read("_NET_WM_NAME")
        return None if text is None else text.strip('"')

    @property
    def has_close_button(self):
        """Whether the program lets the window manager offer a close button.

        This is the program's wish: openbox does not heed it.
        """
        hints = self.read("_MOTIF_WM_HINTS")
        if hints is None:
            return True
        flags, functions = (int(word, 16) for word in hints.split(", ")[:2])
        if not flags & MOTIF_FUNCTIONS:
            return True
        named = bool(functions & MOTIF_CLOSE)
        return named != bool(functions & MOTIF_ALL_BUT)

    @property
    def allowed_actions(self):
        """What the window manager lets the user do with the window: CLOSE, RESIZE, ..."""
        names = self.read("_NET_WM_ALLOWED_ACTIONS") or ""
        return set(re.findall(r"_NET_WM_ACTION_(\w+)", names))

    @property
    def states(self):
        """MODAL, SKIP_TASKBAR, ..."""
        return set(re.findall(r"_NET_WM_STATE_(\w+)", self.read("_NET_WM_STATE") or ""))

    @property
    def owner(self):
        """The number of the window that this one belongs to."""
        found = re.search(r"# (0x[0-9a-f]+)", run("xprop", "-id", self.number, "WM_TRANSIENT_FOR"))
        return int(found[1], 16) if found else None

    def size_hint(self, kind):
        """The "minimum" or "maximum" size that the program asked for, as (width, height)."""
        hints = run("xprop", "-id", self.number, "WM_NORMAL_HINTS")
        found = re.search(rf"program specified {kind} size: (\d+) by (\d+)", hints)
        return (int(found[1]), int(found[2])) if found else None

    @property
    def size(self):
        text = run("xwininfo", "-id", self.number)
        return tuple(int(re.search(rf"{side}: (\d+)", text)[1]) for side in ("Width", "Height"))

    @property
    def position(self):
        text = run("xwininfo", "-id", self.number)
        return tuple(int(re.search(rf"upper-left {axis}: +(-?\d+)", text)[1]) for axis in "XY")

    def ask_for_size(self, width, height):
        """Asks the window manager for another size, as dragging the frame does."""
        run("wmctrl", "-i", "-r", self.number, "-e", f"0,-1,-1,{width},{height}")

    def wait_for_size(self, width, height):
        wait_until(lambda: self.size == (width, height), f"a window of {width} by {height}")

    def close(self):
        """Closes it as the close button of its frame does."""
        run("wmctrl", "-i", "-c", self.number)

    def destroy(self):
        """Destroys it behind the program's back.

        GDK ends a program that asks about a window that is gone, as it does for many an event and
        for the tooltip of what the pointer rests on. So the pointer leaves, no event is on its way,
        and the program waits meanwhile.
        """
        run("xdotool", "mousemove", "1279", "1023")
        with held(self._pid):
            run("xdotool", "windowclose", self.number)

    def focus(self):
        """Gives it the keyboard."""
        run("xdotool", "windowactivate", "--sync", str(int(self.number, 16)))

    def press_keys(self, *keys):
        """Presses keys of the keyboard, for instance "Escape" or "ctrl+v"."""
        self.focus()
        run("xdotool", "key", "--clearmodifiers", *keys)

    def type(self, text):
        """Types a text on the keyboard."""
        self.focus()
        run("xdotool", "type", "--clearmodifiers", text)
