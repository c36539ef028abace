"""Ends that nobody in the window asked for: signals, and an X server that goes away.

Each is driven in every stage of a use: while the program looks for scanners at its start, in the
window, under the search dialog, a message box and a file chooser, and while it registers.
"""
import os
import pathlib
import signal
import subprocess

import pytest

from desktop_driver import main_window, program
from desktop_driver.main_window import NETWORK
from desktop_driver.waiting import wait_until

STAGES = ("window", "edited", "search", "message box", "file chooser", "registering")
OLD = 'pcname="old"\n'
# A shell ignores SIGINT for what it starts in the background, and that is handed down to here.
HEED_SIGINT = ("env", "--default-signal=INT")
# A survey of them takes fifteen seconds and more, a registration at the first of them nine.
SLOW = """
delay.model = 2500
delay.vendor = 2500
delay.name = 2500
reply_codes = silence
[scanner Slow]
[scanner Slow-Too]
"""


@pytest.fixture
def start_displays():
    """Starts X servers of their own, without a window manager, and ends those that are left."""
    servers = []

    def start():
        reader, writer = os.pipe()
        words = ["Xvfb", "-displayfd", str(writer), "-screen", "0", "1280x1024x24"]
        server = subprocess.Popen(
            [*words, "-nolisten", "tcp", "-noreset"],
            stdin=subprocess.DEVNULL,
            stdout=subprocess.DEVNULL,
            stderr=subprocess.DEVNULL,
            pass_fds=[writer],
        )
        servers.append(server)
        os.close(writer)
        with os.fdopen(reader) as numbers:
            number = numbers.readline().strip()
        assert number, "the X server did not start"
        return server, f":{number}"

    yield start
    for server in servers:
        if server.poll() is None:
            server.kill()
        server.wait()


def running():
    """The process ids of all copies of the program."""
    path = os.path.realpath(os.environ["VELTRANA_PROGRAM"])
    found = []
    for link in pathlib.Path("/proc").glob("[0-9]*/exe"):
        try:
            if os.readlink(link) == path:
                found.append(int(link.parent.name))
        except OSError:  # it has just ended
            continue
    return found


def bring_to(stage, window):
    """Takes a window to a stage, but does not wait until it is there."""
    if stage == "edited":
        window.scan_entry.type_over("/no/such/folder")
    elif stage == "search":
        window.show_page(NETWORK)
        window.search.press()
    elif stage == "message box":
        window.scan_entry.type_over("/no/such/folder")
        window.apply.press()
    elif stage == "file chooser":
        window.scan_browse.press()
    elif stage == "registering":
        window.show_page(NETWORK)
        window.name_entry.type_over("new")
        window.apply.press()


@pytest.fixture
def start_in_every_stage(start_program, start_scanners):
    """Gives a running program for each stage, and the scanner that keeps three of them waiting."""

    def start(**keywords):
        quick = start_scanners("[scanner Slow]\n")
        tools = {stage: start_program(**keywords) for stage in STAGES}
        windows = {stage: main_window.MainWindow(tool) for stage, tool in tools.items()}
        quick.stop()
        peers = start_scanners(SLOW)
        for stage in ("edited", "message box", "file chooser"):
            bring_to(stage, windows[stage])
        windows["message box"].wait_for_dialog("alert")
        windows["file chooser"].wait_for_dialog()
        # These last only as long as the scanners let them.
        tools["start"] = start_program(**keywords)
        bring_to("search", windows["search"])
        wait_until(lambda: len(peers.asked("model", "Slow")) == 2, "the start and the search")
        windows["search"].wait_for_dialog()
        bring_to("registering", windows["registering"])
        wait_until(lambda: peers.asked("register"), "the registration")
        assert {tool.process.poll() for tool in tools.values()} == {None}
        return tools, peers

    return start


@pytest.fixture
def old_settings():
    file = program.settings_file()
    file.parent.mkdir()
    file.write_text(OLD)
    return file


@pytest.mark.parametrize("number", [signal.SIGTERM, signal.SIGHUP, signal.SIGINT])
def test_signal_ends_it_at_once_in_every_stage(start_in_every_stage, old_settings, number):
    """Without a word and without writing: what was edited is lost, what was stored is not."""
    tools, _peers = start_in_every_stage(wrapper=HEED_SIGINT)
    for tool in tools.values():
        tool.process.send_signal(number)
    ends = {stage: tool.wait_for_end() for stage, tool in tools.items()}
    assert ends == {stage: -number for stage in tools}
    assert {tool.errors for tool in tools.values()} == {""}
    assert running() == []
    assert old_settings.read_text() == OLD
    assert list(old_settings.parent.iterdir()) == [old_settings]


@pytest.mark.parametrize("number", [signal.SIGTERM, signal.SIGKILL], ids=["ended", "killed"])
def test_x_server_that_goes_away_ends_it_in_every_stage(
    start_in_every_stage, start_displays, old_settings, number
):
    """As of every program of the desktop: GDK says so and ends it with status 1.

    Only an Apply that has begun is carried out.
    """
    server, display = start_displays()
    tools, peers = start_in_every_stage(environment={"DISPLAY": display})
    server.send_signal(number)
    server.wait()
    ends = {stage: tool.wait_for_end(60) for stage, tool in tools.items()}
    assert ends == {stage: 1 for stage in tools}
    for stage, tool in tools.items():
        # One line that names the server.
        assert display in tool.errors, (stage, tool.errors)
    assert running() == []
    assert old_settings.read_text().splitlines()[2] == 'pcname="new"'
    assert len(peers.asked("register")) == 3


def test_x_server_that_goes_away_without_an_apply_leaves_the_settings(
    start_program, start_displays, old_settings
):
    server, display = start_displays()
    tool = start_program(environment={"DISPLAY": display})
    window = main_window.MainWindow(tool)
    window.scan_entry.type_over("/srv")
    server.kill()
    assert tool.wait_for_end() == 1
    assert old_settings.read_text() == OLD
