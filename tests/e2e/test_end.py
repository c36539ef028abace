"""The ways in which the program ends, and its command line."""
import os

import pytest

from desktop_driver import program
from desktop_driver.waiting import wait_until
from desktop_driver.xwindows import ManagedWindow

OPEN_ERROR = "void CMainTabs::ReadFile(): Setting File open Error\n"


def leave(window, way):
    if way == "OK":
        window.ok.press()
    elif way == "Cancel":
        window.cancel.press()
    elif way == "close":
        ManagedWindow.main_of(window.tool).close()
    else:
        ManagedWindow.main_of(window.tool).destroy()


@pytest.mark.parametrize("way", ["OK", "Cancel", "close", "destroy"])
def test_status_is_0_after(open_window, way):
    window = open_window()
    leave(window, way)
    assert window.tool.wait_for_end() == 0
    assert program.settings_file().exists() == (way == "OK")
    if way != "destroy":  # GDK has something to say to that
        assert window.tool.errors == OPEN_ERROR


@pytest.mark.parametrize("way", ["Cancel", "close", "destroy"])
def test_edits_are_dropped_by(open_network_page, start_scanners, way):
    peers = start_scanners(1)
    window = open_network_page()
    window.name_entry.type_over("edited")
    window.list_up.press()
    leave(window, way)
    assert window.tool.wait_for_end() == 0
    assert not program.settings_file().exists()
    assert peers.asked("register") + peers.asked("unregister") == []


@pytest.mark.parametrize("way", ["OK", "Cancel", "close", "destroy"])
def test_status_is_0_after_a_search_and(open_network_page, start_scanners, way):
    start_scanners(3)
    window = open_network_page()
    window.run_search()
    leave(window, way)
    assert window.tool.wait_for_end() == 0


@pytest.mark.parametrize("way", ["OK", "Cancel", "close"])
def test_status_is_0_while_a_cancelled_search_may_still_end(open_network_page, start_scanners, way):
    start_scanners("[scanner Slow]\ndelay.model = 500\n")
    window = open_network_page()
    window.begin_search().find("push button", "Cancel").press()
    window.wait_for_no_dialog()
    leave(window, way)
    assert window.tool.wait_for_end() == 0


def test_window_destroyed_while_the_search_runs(open_network_page, start_scanners):
    start_scanners("[scanner Slow]\ndelay.model = 1000\n")
    window = open_network_page()
    window.begin_search()
    ManagedWindow.main_of(window.tool).destroy()
    assert window.tool.wait_for_end() == 0


def test_window_destroyed_under_a_message_box(open_window):
    window = open_window()
    window.scan_entry.type_over("")
    window.apply.press()
    window.wait_for_dialog("alert")
    ManagedWindow.main_of(window.tool).destroy()
    assert window.tool.wait_for_end() == 0


@pytest.mark.parametrize("answer", ["OK", "Cancel"])
def test_window_destroyed_under_a_file_chooser(open_window, answer):
    window = open_window()
    window.scan_browse.press()
    chooser = window.wait_for_dialog()
    wait_until(lambda: chooser.find("toggle button", "Scan").checked, "the folder to be shown")
    ManagedWindow.main_of(window.tool).destroy()
    # The chooser outlives the window, and its answer is of no use any more.
    chooser.find("push button", answer).press()
    assert window.tool.wait_for_end() == 0


def test_closing_is_logged_and_destroying_is_not(debug_lines, open_window):
    line = "[OnDelete(93)]: CMainWin::OnDelete\n"
    for way, lines in (("close", 1), ("destroy", 0)):
        window = open_window()
        leave(window, way)
        assert window.tool.wait_for_end() == 0
        assert window.tool.errors.count(line) == lines, way


def test_escape_does_not_end_it(open_window):
    window = open_window()
    managed = ManagedWindow.main_of(window.tool)
    window.scan_entry.grab_focus()
    managed.press_keys("End", "Escape", "x")
    scan = str(program.scan_folder())
    wait_until(lambda: window.scan_entry.text == f"{scan}x", "the letter behind Escape")
    assert window.tool.process.poll() is None


def test_name_and_class_options_are_gtks(open_window):
    window = open_window("--name", "desk", "--class=Office")
    assert ManagedWindow.main_of(window.tool).read("WM_CLASS") == '"desk", "Office"'
    window.cancel.press()
    assert window.tool.wait_for_end() == 0


def test_display_option_is_gtks(open_window):
    window = open_window(f"--display={os.environ['DISPLAY']}", environment={"DISPLAY": ":77"})
    assert window.showing
    window.cancel.press()
    assert window.tool.wait_for_end() == 0


@pytest.mark.parametrize(
    "arguments",
    [
        ["--no-such-option"],
        ["--help"],
        ["--version"],
        ["-x", "--"],
        ["/etc/passwd", "http://10.77.0.101"],
        [""],
        ["%s%n"],
    ],
    ids=lambda arguments: " ".join(arguments) or "empty",
)
def test_other_arguments_are_ignored(open_window, arguments):
    window = open_window(*arguments)
    assert window.tool.errors == OPEN_ERROR
    window.ok.press()
    assert window.tool.wait_for_end() == 0


def test_two_programs_do_not_disturb_each_other(open_network_page, start_scanners):
    peers = start_scanners(1)
    first, second = open_network_page(), open_network_page()
    first.name_entry.type_over("first")
    first.ok.press()
    assert first.tool.wait_for_end() == 0
    assert [computer["name"] for computer in peers.lists()["10.77.0.101"]] == ["first"]
    second.name_entry.type_over("second")
    second.ok.press()
    assert second.tool.wait_for_end() == 0
    assert 'pcname="second"\n' in program.settings_file().read_text()
