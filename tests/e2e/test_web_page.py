"""Configure..., which opens the selected scanner's web page in the desktop's browser."""
import pathlib

import pytest

from desktop_driver import program
from desktop_driver.waiting import wait_until


@pytest.fixture
def open_with(viewers, debug_lines, open_network_page):
    """Opens the window on a machine with these viewers."""

    def open_it(*names):
        for name in names:
            viewers.add(name)
        return open_network_page(wrapper=viewers.wrapper, environment=viewers.environment)

    return open_it


def configure(window, row):
    window.devices.select_row(row)
    wait_until(lambda: window.configure.sensitive, "Configure... to be enabled")
    window.configure.press()


def logged(window, text):
    """The name of the function that logged the text; waits for it."""

    def look():
        lines = window.tool.errors.splitlines()
        return [line.partition("(")[0][1:] for line in lines if line.endswith(f")]: {text}")]

    (function,) = wait_until(look, f"the line {text!r} in the debug log")
    return function


def test_xdg_open_gets_the_address(open_with, viewers, start_scanners):
    start_scanners(3)
    window = open_with("xdg-open")
    (row,) = (i for i, row in enumerate(window.devices.rows()) if row[2] == "10.77.0.102")
    configure(window, row)
    assert viewers.call() == ["xdg-open", "http://10.77.0.102"]
    assert logged(window, f"GetCurSel={row} ") == "OnNofityBtnClicked"
    assert logged(window, "xdg-open exist") == "OnNofityBtnClicked"
    assert logged(window, "viewer: xdg enter") == "OnNofityBtnClicked"


def test_xdg_open_goes_before_gnome_open(open_with, viewers, start_scanners):
    start_scanners(1)
    window = open_with("xdg-open", "gnome-open")
    configure(window, 0)
    assert viewers.call() == ["xdg-open", "http://10.77.0.101"]


def test_gnome_open_is_used_without_xdg_open(open_with, viewers, start_scanners):
    start_scanners(1)
    window = open_with("gnome-open")
    configure(window, 0)
    assert viewers.call() == ["gnome-open", "http://10.77.0.101"]
    assert logged(window, "gnome-open exist") == "OnNofityBtnClicked"
    assert logged(window, "viewer: gnome enter") == "OnNofityBtnClicked"


def test_gnome_open_is_used_when_xdg_open_is_not_executable(open_with, viewers, start_scanners):
    start_scanners(1)
    viewers.add("xdg-open", mode=0o644)
    window = open_with("gnome-open")
    configure(window, 0)
    assert viewers.call() == ["gnome-open", "http://10.77.0.101"]


def test_without_a_viewer_nothing_happens(open_with, viewers, start_scanners):
    start_scanners(1)
    window = open_with()
    configure(window, 0)
    assert logged(window, "Error: xdg-open, gnome-open not exist") == "OnNofityBtnClicked"
    assert not viewers.called
    assert window.other_windows() == []
    window.cancel.press()
    assert window.tool.wait_for_end() == 0


def test_viewer_that_does_not_start_does_no_harm(open_with, viewers, start_scanners):
    start_scanners(1)
    viewers.add_broken("xdg-open")
    window = open_with("gnome-open")
    configure(window, 0)
    logged(window, "viewer: xdg enter")
    # The child process ends without touching the window that it shares with the program.
    wait_until(lambda: not children_of(window.tool.process.pid), "the child process to be gone")
    assert window.devices.rows()[0][2] == "10.77.0.101"
    assert not viewers.called
    window.ok.press()
    assert window.tool.wait_for_end() == 0
    assert program.settings_file().exists()


def test_viewer_can_be_started_again_and_again(open_with, viewers, start_scanners):
    start_scanners(2)
    window = open_with("xdg-open")
    for row in (0, 1, 0):
        configure(window, row)
        address = window.devices.rows()[row][2]
        assert viewers.call() == ["xdg-open", f"http://{address}"]
    wait_until(lambda: not children_of(window.tool.process.pid), "no child process to be left")


def test_address_is_that_of_the_row_after_a_new_search(open_with, viewers, start_scanners):
    peers = start_scanners("[scanner Old]\n")
    window = open_with("xdg-open")
    peers.stop()
    start_scanners("[scanner New]\naddress = 10.77.0.150\n")
    window.run_search()
    configure(window, 0)
    assert viewers.call() == ["xdg-open", "http://10.77.0.150"]


def children_of(pid):
    path = pathlib.Path(f"/proc/{pid}/task/{pid}/children")
    return path.read_text().split()
