"""Programs that open web pages, as the program under test finds them.

They are looked for in /usr/bin. Which of them this machine has must not matter, so the program gets
a /usr/bin of its own: a folder of links to everything that is really there, without these programs,
mounted over /usr/bin in a mount namespace of the program.
"""
import os
import pathlib

from desktop_driver.waiting import wait_until

USR_BIN = pathlib.Path("/usr/bin")
VIEWERS = ("xdg-open", "gnome-open")
MOUNT = 'mount --bind /usr/bin "$1" && mount --bind "$2" /usr/bin && shift 2 && exec "$@"'


class Viewers:
    """A /usr/bin with some of the viewers, and what they were called with."""

    def __init__(self, folder):
        self._real = folder / "real"
        self._links = folder / "links"
        self._arguments = folder / "arguments"
        self._real.mkdir()
        self._links.mkdir()
        for path in USR_BIN.iterdir():
            if path.name not in VIEWERS:
                (self._links / path.name).symlink_to(self._real / path.name)

    def add(self, name, mode=0o755):
        """Adds a stand-in that notes its arguments."""
        stand_in = self._links / name
        stand_in.write_bytes(pathlib.Path(os.environ["VELTRANA_SHOW_ARGUMENTS"]).read_bytes())
        stand_in.chmod(mode)

    def add_broken(self, name):
        """Adds one that is executable, but nothing that can be executed."""
        (self._links / name).write_text("\0not a program\n")
        (self._links / name).chmod(0o755)

    @property
    def wrapper(self):
        return ["unshare", "--mount", "sh", "-c", MOUNT, "sh", str(self._real), str(self._links)]

    @property
    def environment(self):
        return {"SHOW_ARGUMENTS": str(self._arguments)}

    def call(self):
        """The name and the arguments of the first call; waits for it."""
        wait_until(self._arguments.exists, "a viewer to be started")
        words = self._arguments.read_text().split("\0")
        self._arguments.unlink()
        return words[:-1]

    @property
    def called(self):
        return self._arguments.exists()
