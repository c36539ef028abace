"""The program as a process: starting it, its window, its standard error, its end."""
import os
import pathlib
import pwd
import signal
import subprocess
import tempfile

from . import window
from .waiting import wait_until

TITLE = "Veltrana DVX Tools"
SHARE = pathlib.Path("/usr/local/share/veltrana/scanner")
LOG = pathlib.Path("/tmp/VeltranaDVXTools.log")

# A wrapper for Program: in the lab the user is root, whom file modes do not bind otherwise.
HEED_FILE_MODES = ("setpriv", "--bounding-set=-dac_override,-dac_read_search")


def home():
    """The home folder as the program finds it: from the password database, not from HOME."""
    return pathlib.Path(pwd.getpwuid(os.getuid()).pw_dir)


def settings_file():
    return home() / ".VeltranaDVX" / "dvxtools.conf"


def scan_folder():
    return home() / "Veltrana" / "DVX" / "Scan"


def install_language(folder, content):
    """Installs a language file in a folder of the data folder."""
    path = SHARE / "data" / folder / "DVXTOOLS.RCT"
    path.parent.mkdir(parents=True, exist_ok=True)
    path.write_bytes(content if isinstance(content, bytes) else content.encode())


def switch_debug_on(kind):
    """Makes the switch file for the debug log: "err" for standard error, "log" for the file."""
    switch = SHARE / "bin" / f"VeltranaDVXTools.{kind}"
    switch.parent.mkdir(parents=True, exist_ok=True)
    switch.touch()


class Program:
    """A run of the program. Use it in a with statement: it never outlives the block.

    The environment's texts are set and its None values unset. The wrapper's words go before the
    program's path: a command that prepares something and then becomes the program.
    """

    def __init__(self, path, arguments=(), environment=None, wrapper=()):
        self._errors = tempfile.TemporaryFile()
        variables = {**os.environ, **(environment or {})}
        self.process = subprocess.Popen(
            [*wrapper, str(path), *arguments],
            stdin=subprocess.DEVNULL,
            stderr=self._errors,
            env={name: value for name, value in variables.items() if value is not None},
        )

    def __enter__(self):
        return self

    def __exit__(self, *failure):
        if self.process.poll() is None:
            self.process.send_signal(signal.SIGKILL)
            self.process.wait()
        self._errors.close()

    @property
    def errors(self):
        """All that the program wrote to standard error so far."""
        return self.errors_from(0).decode("utf-8", "replace")

    def errors_from(self, begin):
        """The bytes that it wrote to standard error so far, from an offset on."""
        size = os.fstat(self._errors.fileno()).st_size
        return os.pread(self._errors.fileno(), max(0, size - begin), begin)

    def application(self):
        return window.application(self.process.pid)

    def main_window(self, title=TITLE):
        """The main window, once it is on the screen."""
        return self.application().find("frame", title)

    def wait_for_end(self, seconds=20.0):
        """Waits for the program to end and gives its exit status."""
        wait_until(lambda: self.process.poll() is not None, "the program to end", seconds)
        return self.process.returncode
