"""Running dvx-probe in the lab."""
import os
import re
import subprocess
from typing import NamedTuple

from desktop_driver.links import wait_for_links

PROGRAM = os.environ.get("VELTRANA_PROBE", "dvx-probe")


def run(*arguments, wrapper=(), environment=None, timeout=120):
    """Runs it to its end; gives the finished process with its texts."""
    return subprocess.run(
        [*wrapper, PROGRAM, *map(str, arguments)],
        stdin=subprocess.DEVNULL,
        capture_output=True,
        text=True,
        timeout=timeout,
        check=False,
        env={**os.environ, **(environment or {})},
    )


def results(*arguments, status=0, errors="", **keywords):
    """Its standard output; exit status and standard error must be these."""
    done = run(*arguments, **keywords)
    assert (done.returncode, done.stderr) == (status, errors), done
    return done.stdout


# A desk and an office, like those of the lab; sudo is there, as the commands that are shown use it.
NETWORKS = """
touch {desk} {office}
unshare --net={desk} true
unshare --net={office} true
{on_desk} ip link set lo up
{on_office} ip link set lo up
"""
LINK = """
{on_desk} ip link add eth0 address 02:56:44:56:58:10 type veth \
  peer name lan0 address 02:56:44:56:58:01
{on_desk} ip link set lan0 netns {office}
{on_office} sh -ec '
ip address add 10.77.0.1/16 dev lan0
ip link set lan0 up
ip route add local 10.77.0.64/26 dev lan0
ip route add local 10.77.0.128/25 dev lan0
ip route add local 10.77.1.0/24 dev lan0'
{on_desk} sh -ec '
ip address add 10.77.0.10/16 broadcast + dev eth0
ip link set eth0 up
ip route add default via 10.77.0.1'
"""
CABLES = [("eth0", "lan0"), ("eth1", "lan1")]
SUDO = '#!/bin/sh\nexec "$@"\n'


class Stage:
    """Networks made for one situation. Use it in a with statement.

    With its path as PATH, lab-office leads to the office of the stage.
    """

    def __init__(self, folder):
        self._folder = folder
        self._desk = folder / "desk"
        self._office = folder / "office"
        self.on_desk = ("nsenter", f"--net={self._desk}", "--")
        self.on_office = ("nsenter", f"--net={self._office}", "--")
        self._tools = folder / "bin"
        self.path = f"{self._tools}:{os.environ['PATH']}"

    def __enter__(self):
        self._tools.mkdir()
        self.provide("sudo", SUDO)
        self.provide("lab-office", f'#!/bin/sh\nexec {" ".join(self.on_office)} "$@"\n')
        self.provide("dvx-probe", f'#!/bin/sh\nexec "{PROGRAM}" "$@"\n')
        self._make(NETWORKS)
        self.connect()
        return self

    def __exit__(self, *failure):
        run_command("umount", self._desk)
        run_command("umount", self._office)

    def _make(self, script):
        words = {"desk": self._desk, "office": self._office}
        words.update(on_desk=" ".join(self.on_desk), on_office=" ".join(self.on_office))
        run_command("sh", "-ec", script.format(**words))

    def connect(self):
        """Lays the cable from eth0 to the office."""
        self._make(LINK)

    def provide(self, name, script):
        """Makes a program that is found before those of the system."""
        path = self._tools / name
        path.write_text(script)
        path.chmod(0o755)

    def desk(self, script):
        """Runs a shell script on the desk."""
        return run_command(*self.on_desk, "env", f"PATH={self.path}", "sh", "-ec", script)

    def office(self, script):
        return run_command(*self.on_office, "sh", "-ec", script)

    def settle(self):
        """Waits until nothing is pending of what the test did to the cables."""
        wait_for_links(self.on_desk, self.on_office, CABLES)

    def run(self, *arguments, before=()):
        self.settle()
        return run(*arguments, wrapper=(*self.on_desk, *before), environment={"PATH": self.path})

    def explain(self, *arguments, before=()):
        """What is found: {id: its text}, in order; and the whole output."""
        done = self.run("explain", "--wait", "1.2", *arguments, before=before)
        assert done.stderr == "", done.stderr
        found = findings(done.stdout)
        assert done.returncode == (0 if list(found) == ["all-well"] else 1), done.stdout
        return Explanation(done.stdout, found)


class Explanation(NamedTuple):
    text: str
    found: dict  # from the word of each finding to its text

    @property
    def ids(self):
        return list(self.found)

    def commands(self, finding):
        tail = self.found[finding].partition("   Try:\n")[2]
        return [line.strip() for line in tail.splitlines()]


def findings(text):
    if text.endswith("\nNothing is wrong. [all-well]\n"):
        return {"all-well": ""}
    assert "What was found\n" in text, text
    parts = re.split(r"^\d+\. ", text.partition("What was found\n")[2], flags=re.MULTILINE)[1:]
    return {re.search(r"\[([a-z-]+)\]\n", part)[1]: part for part in parts}


def run_command(*words):
    """What a command prints; raises with its words when it fails."""
    done = subprocess.run(
        [str(word) for word in words], capture_output=True, text=True, timeout=60, check=False
    )
    assert done.returncode == 0, (words, done.stdout, done.stderr)
    return done.stdout
