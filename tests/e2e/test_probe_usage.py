"""dvx-probe's options, what it says on a terminal, and how it leaves."""
import os
import pty
import re
import select
import signal
import subprocess

import failing
import probe
import pytest

from desktop_driver.waiting import wait_until

MISTAKES = {
    "": "no command: list, register, unregister or explain (see dvx-probe --help)",
    "lists": "lists: unknown command (list, register, unregister or explain) (see dvx-probe --help)",
    "--json list": "--json: unknown option (see dvx-probe --help)",
    "list --colour": "--colour: unknown option (see dvx-probe list --help)",
    "list 10.77.0.101": "10.77.0.101: this command takes no words besides its options"
    " (see dvx-probe list --help)",
    "list --json --csv": "--csv: --json and --csv do not go together (see dvx-probe list --help)",
    "list --json=yes": "--json: it takes no value (see dvx-probe list --help)",
    "list --name x": "--name: unknown option (see dvx-probe list --help)",
    "list --address": "--address: it needs a value (see dvx-probe list --help)",
    "list --address 10.77.0.300": "--address 10.77.0.300: this is not an IPv4 address or a host"
    " name (see dvx-probe list --help)",
    "list --address 10.77.0.101,": "--address : this is not an IPv4 address or a host name"
    " (see dvx-probe list --help)",
    "list --address 10.77": "--address 10.77: this is not an IPv4 address or a host name"
    " (see dvx-probe list --help)",
    "list --address fe80::1": "--address fe80::1: this is not an IPv4 address or a host name"
    " (see dvx-probe list --help)",
    "list --address 255.255.255.255": "--address 255.255.255.255: no single device has this"
    " address (see dvx-probe list --help)",
    "list --address 224.0.0.1": "--address 224.0.0.1: no single device has this address"
    " (see dvx-probe list --help)",
    "list --address 0.0.0.0": "--address 0.0.0.0: no single device has this address"
    " (see dvx-probe list --help)",
    "list --interface nope0": "--interface nope0: there is no such interface"
    " (see dvx-probe list --help)",
    "list --interface lo": "--interface lo: it has no IPv4 broadcast address"
    " (see dvx-probe list --help)",
    "list --interface eth0,": "--interface: the interface has no name (see dvx-probe list --help)",
    "list --wait 0": "--wait 0: this is not a number of seconds from 0.001 to 600"
    " (see dvx-probe list --help)",
    "list --wait soon": "--wait soon: this is not a number of seconds from 0.001 to 600"
    " (see dvx-probe list --help)",
    "list --wait nan": "--wait nan: this is not a number of seconds from 0.001 to 600"
    " (see dvx-probe list --help)",
    "list --wait 601": "--wait 601: this is not a number of seconds from 0.001 to 600"
    " (see dvx-probe list --help)",
    "list --trace=": "--trace: the file has no name (see dvx-probe list --help)",
    "list --trace /no/such/folder/file": "--trace /no/such/folder/file: No such file or directory"
    " (see dvx-probe list --help)",
    "register": "no scanner: give addresses, or --all (see dvx-probe register --help)",
    "register --all 10.77.0.101": "--all: it does not go together with addresses"
    " (see dvx-probe register --help)",
    "register --each-interface 10.77.0.101": "--each-interface: it says where to look for all"
    " scanners and needs --all (see dvx-probe register --help)",
    "register --name= 10.77.0.101": "--name: the name is empty (see dvx-probe register --help)",
    "unregister 10.77.0.1o1,": "10.77.0.1o1,: this is not an IPv4 address or a host name"
    " (see dvx-probe unregister --help)",
    "explain --json": "--json: unknown option (see dvx-probe explain --help)",
}


@pytest.mark.parametrize("words", MISTAKES)
def test_mistakes_are_named_and_exit_with_2(words):
    assert probe.results(*words.split(), status=2, errors=f"dvx-probe: {MISTAKES[words]}\n") == ""


def test_an_interface_that_is_down_is_not_asked():
    down = failing.network("ip link add eth0 type veth peer name far0\n")
    errors = "dvx-probe: --interface eth0: it is down (see dvx-probe list --help)\n"
    output = probe.results("list", "--interface", "eth0", status=2, errors=errors, wrapper=down)
    assert output == ""


def test_host_names_are_looked_up():
    """127.0.0.1 answers nothing, but it is what was meant."""
    errors = "dvx-probe: 127.0.0.1 does not answer (Connection refused)\n"
    errors += "dvx-probe: no scanner was found (dvx-probe explain says why)\n"
    assert probe.results("list", "--address", "localhost", status=1, errors=errors) == ""


def test_unknown_host_names_are_a_mistake():
    errors = "dvx-probe: --address no-such_scanner1.invalid: no such host is known"
    errors += " (see dvx-probe list --help)\n"
    assert (
        probe.results("list", "--address", "no-such_scanner1.invalid", status=2, errors=errors)
        == ""
    )


def test_words_behind_two_dashes_are_no_options():
    errors = "dvx-probe: --all: no such host is known"
    errors += " (see dvx-probe register --help)\n"
    assert probe.results("register", "--", "--all", status=2, errors=errors) == ""


@pytest.mark.parametrize("command", ["list", "register", "unregister", "explain"])
def test_help_has_examples(command):
    text = probe.results(command, "--help")
    assert text.startswith(f"Usage: dvx-probe {command} ")
    assert re.search(rf"\nExamples:\n(  .*\n)*  (sudo )?dvx-probe {command} ", text)
    assert "Exit status: 0 " in text
    assert max(map(len, text.splitlines())) <= 100


def test_help_and_version_of_the_program():
    text = probe.results("--help")
    for command in ("list", "register", "unregister", "explain"):
        assert f"\n  dvx-probe {command} " in text
    assert re.fullmatch(r"dvx-probe \d+\.\d+\.\d+\n", probe.results("--version"))


def test_full_standard_output_is_a_failure(start_scanners):
    start_scanners(1)
    with open("/dev/full", "w", encoding="ascii") as full:
        done = subprocess.run(
            [probe.PROGRAM, "list", "--wait", "0.3"],
            stdout=full,
            stderr=subprocess.PIPE,
            text=True,
            check=False,
        )
    assert done.returncode == 1
    assert done.stderr == "dvx-probe: standard output: No space left on device\n"


def heed_interrupts():
    """The lab, a job in the background, passes on that they are ignored."""
    signal.signal(signal.SIGINT, signal.SIG_DFL)


class Terminal:
    """Runs it on a terminal of its own and keeps all that it shows."""

    def __init__(self, *arguments):
        self._master, slave = pty.openpty()
        self.process = subprocess.Popen(
            [probe.PROGRAM, *arguments],
            stdin=slave,
            stdout=slave,
            stderr=slave,
            preexec_fn=heed_interrupts,
        )
        os.close(slave)
        self.shown = ""

    def read(self):
        while select.select([self._master], [], [], 0)[0]:
            try:
                self.shown += os.read(self._master, 4096).decode()
            except OSError:  # the other end is closed
                break
        return self.shown

    def wait(self):
        wait_until(lambda: (self.read(), self.process.poll() is not None)[1], "its end")
        self.read()
        os.close(self._master)
        return self.process.returncode


def test_progress_on_a_terminal(start_scanners):
    start_scanners(2)
    terminal = Terminal("list")
    assert terminal.wait() == 0
    assert "Searching... 0 answers" in terminal.shown
    assert "Searching... 2 answers" in terminal.shown
    assert "Asking for names... 1 of 2" in terminal.shown
    # The line is emptied before the table.
    assert re.search(r"\r\x1b\[KMODEL +NAME", terminal.shown)
    assert terminal.shown.rstrip().endswith("02:56:53:00:00:66")


def progress(shown):
    """The lines that took each other's place, and what is left in the end."""
    first, *lines = shown.split("\r\x1b[K")
    assert first == ""
    return lines[:-1], lines[-1]


SEARCHED = ["Searching... 0 answers", "Searching... 1 answers", "Searching... 2 answers"]
ASKED = [
    f"Asking for {what}... {count} of 2"
    for what in ("models", "vendors", "names", "hardware addresses")
    for count in range(3)
]
REGISTERED = [f"Registering... {count} of 2" for count in range(3)]
RESULTS = {
    "register": '10.77.0.101      registered as "lab-desk"\r\n'
    '10.77.0.102      registered as "lab-desk"\r\n',
    "unregister": "10.77.0.101      told to forget this computer\r\n"
    "10.77.0.102      told to forget this computer\r\n",
}
STEPS = {"register": REGISTERED, "unregister": ["Unregistering... 0 of 2"]}


@pytest.mark.parametrize("command", STEPS)
def test_every_step_is_shown_on_a_terminal(start_scanners, command):
    """The line is emptied twice: after the search, when it may have complaints, and at the end."""
    start_scanners(2)
    terminal = Terminal(command, "--all")
    assert terminal.wait() == 0
    assert progress(terminal.shown) == ([*SEARCHED, *ASKED, "", *STEPS[command]], RESULTS[command])


def test_interrupt_leaves_at_once():
    terminal = Terminal("list", "--wait", "60")
    wait_until(lambda: "Searching" in terminal.read(), "the search")
    terminal.process.send_signal(signal.SIGINT)
    assert terminal.wait() == 130
    assert terminal.shown.endswith("\r\x1b[K")


def test_interrupt_without_a_terminal_leaves_no_word(tmp_path):
    trace = tmp_path / "trace.pcap"
    running = subprocess.Popen(
        [probe.PROGRAM, "register", "10.77.0.9", "--trace", trace],
        stdout=subprocess.PIPE,
        stderr=subprocess.PIPE,
        preexec_fn=heed_interrupts,
    )
    wait_until(trace.exists, "its start")
    running.send_signal(signal.SIGINT)
    assert running.communicate(timeout=20) == (b"", b"")
    assert running.returncode == 130


def test_a_job_in_the_background_is_not_interrupted(start_scanners):
    start_scanners(1)
    running = subprocess.Popen(
        [probe.PROGRAM, "list"],
        stdout=subprocess.DEVNULL,
        preexec_fn=lambda: signal.signal(signal.SIGINT, signal.SIG_IGN),
    )
    running.send_signal(signal.SIGINT)
    assert running.wait(timeout=20) == 0
