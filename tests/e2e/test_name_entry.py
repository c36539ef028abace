"""The entry for this computer's name: typing and pasting, and the box above it."""
import socket

import pytest

from desktop_driver import program
from desktop_driver.main_window import GENERAL, NETWORK
from desktop_driver.waiting import wait_until
from desktop_driver.xwindows import ManagedWindow, run

ALLOWED_SIGNS = "!@#$%^&\\().-_{}"


@pytest.fixture
def german_keyboard():
    """A keyboard with keys for letters that are not ASCII."""
    run("setxkbmap", "de")
    yield
    run("setxkbmap", "us")


@pytest.fixture
def host_name():
    """Gives this computer another name until the end of the test."""
    yield socket.sethostname
    socket.sethostname("lab-desk")


class Keyboard:
    """Types into the window's entries."""

    def __init__(self, window):
        self.managed = ManagedWindow.main_of(window.tool)

    def focus(self, entry):
        self.managed.focus()
        entry.grab_focus()

    def type_over(self, entry, text):
        self.focus(entry)
        self.managed.press_keys("ctrl+a", "BackSpace")
        self.managed.type(text)


def copy(window, keyboard, text):
    """Leaves a text on the clipboard, from the entry of the OCR program."""
    window.show_page(GENERAL)
    window.ocr_entry.type_over(text)
    keyboard.focus(window.ocr_entry)
    # The letter behind it tells that the keys before it have arrived.
    keyboard.managed.press_keys("ctrl+a", "ctrl+c", "End", "x")
    wait_until(lambda: window.ocr_entry.text == f"{text}x", f"{text!r} to be copied")
    window.show_page(NETWORK)


def wait_for_name(window, text):
    wait_until(
        lambda: window.name_entry.text == text,
        lambda: f"the name {text!r} (it is {window.name_entry.text!r})",
    )


@pytest.mark.parametrize(
    "typed, kept",
    [
        ("my pc/1", "mypc1"),
        ("Front-Desk_07", "Front-Desk_07"),
        (ALLOWED_SIGNS, ALLOWED_SIGNS),
        ("a~b`c=d+e[f]g|h", "abcdefgh"),
        ("a;b:c'd\"e,f<g>h?i*j", "abcdefghij"),
        ("abcdefghijklmnopqrst", "abcdefghijklmno"),
    ],
)
def test_typed(open_network_page, typed, kept):
    window = open_network_page()
    Keyboard(window).type_over(window.name_entry, typed)
    wait_for_name(window, kept)
    assert window.apply.sensitive


def test_typed_letters_that_are_not_ascii_are_refused(german_keyboard, open_network_page):
    window = open_network_page()
    keyboard = Keyboard(window)
    keyboard.type_over(window.name_entry, "b")
    keyboard.managed.press_keys("udiaeresis", "r", "odiaeresis", "o", "ssharp")
    wait_for_name(window, "bro")


def test_refused_letter_that_is_not_ascii_is_no_edit(
    german_keyboard, debug_lines, open_network_page
):
    window = open_network_page()
    keyboard = Keyboard(window)
    keyboard.focus(window.name_entry)
    keyboard.managed.press_keys("End", "udiaeresis")
    line = "[OnInsertText(300)]: xEntryNoWide::OnInsertText(new_text = 'ü', len = 2, pos = 8)\n"
    wait_until(lambda: line in window.tool.errors, "the letter in the debug log")
    assert window.name_entry.text == "lab-desk"
    assert not window.apply.sensitive


def test_refused_ascii_character_counts_as_an_edit(debug_lines, open_network_page):
    """The nothing that is left of it is inserted, and GTK reports that as a change."""
    window = open_network_page()
    keyboard = Keyboard(window)
    keyboard.focus(window.name_entry)
    keyboard.managed.press_keys("End", "slash")
    wait_until(lambda: window.apply.sensitive, "Apply to be enabled")
    assert "[OnInsertText(335)]: validstr = ''\n" in window.tool.errors
    assert window.name_entry.text == "lab-desk"


@pytest.mark.parametrize(
    "pasted, kept",
    [
        ("my pc/1", "mypc1"),
        ("desk-7", "desk-7"),
        ("büro", ""),
        ("/ /", ""),
        ("abcdefghijklmnopqrst", "abcdefghijklmno"),
        ("ab cd ef gh ij kl mn op qr", "abcdefghijklmno"),
    ],
)
def test_pasted(debug_lines, open_network_page, pasted, kept):
    window = open_network_page()
    keyboard = Keyboard(window)
    copy(window, keyboard, pasted)
    keyboard.type_over(window.name_entry, "x")
    keyboard.managed.press_keys("BackSpace", "ctrl+v")
    line = f"OnInsertText(new_text = '{pasted}', len = {len(pasted.encode())}, pos = 0)\n"
    wait_until(lambda: line in window.tool.errors, f"{pasted!r} in the debug log")
    assert window.name_entry.text == kept


def test_pasted_into_the_middle_leaves_the_cursor_behind_it(open_network_page):
    window = open_network_page()
    keyboard = Keyboard(window)
    copy(window, keyboard, "x / y")
    keyboard.type_over(window.name_entry, "abcd")
    keyboard.managed.press_keys("Left", "Left", "ctrl+v")
    wait_for_name(window, "abxycd")
    keyboard.managed.press_keys("z")
    wait_for_name(window, "abxyzcd")


def test_box_disables_and_enables_the_entry(open_network_page):
    window = open_network_page()
    window.list_up.press()
    wait_until(lambda: not window.name_entry.sensitive, "the entry to be disabled")
    assert not window.list_up.checked
    assert window.apply.sensitive
    window.list_up.press()
    wait_until(lambda: window.name_entry.sensitive, "the entry to be enabled")
    assert window.list_up.checked
    # Both clicks were edits, although nothing is different now.
    assert window.apply.sensitive


def test_box_can_be_used_with_the_space_bar(open_network_page):
    window = open_network_page()
    keyboard = Keyboard(window)
    keyboard.focus(window.list_up)
    keyboard.managed.press_keys("space")
    wait_until(lambda: not window.name_entry.sensitive, "the entry to be disabled")


def test_name_of_a_disabled_entry_is_still_the_name(open_network_page):
    window = open_network_page()
    window.name_entry.type_over("front-desk")
    window.list_up.press()
    window.wait_for_apply()
    text = program.settings_file().read_text()
    assert 'pcname="front-desk"\npcListUp="0"\n' in text


@pytest.mark.parametrize(
    "host, name",
    [
        (b"accounting-3", "accounting-3"),
        (b"accounting.example.org", "accounting.exam"),
        (b"my pc/7", "mypc7"),
        ("büro".encode(), "Linux-PC"),
        (b"b\xfcro", "Linux-PC"),
        (b"", "Linux-PC"),
        (b"/ /", ""),
    ],
)
def test_default_is_the_host_name(open_window, host_name, host, name):
    host_name(host)
    window = open_window()
    assert window.name_entry.text == name
    assert not window.apply.sensitive
    window.ok.press()
    assert window.tool.wait_for_end() == 0
    assert f'pcname="{name}"\n' in program.settings_file().read_text()
