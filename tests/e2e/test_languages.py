"""The windows in every language that is installed: whether each text has the room that it needs.

Leaves pictures of all windows in the build folder, in contact-sheet/, for a person to look over.
"""
import os
import pathlib
import re
import shutil
import subprocess

import pytest

from desktop_driver import program, reading, screen
from desktop_driver.main_window import GENERAL, NETWORK
from desktop_driver.xwindows import ManagedWindow

BUILD = pathlib.Path(os.environ["VELTRANA_BUILD"])
INSTALLED = BUILD / "installed-languages" / "share" / "veltrana" / "scanner" / "data"
SHEETS = BUILD / "contact-sheet"
# The folders of those that are a language, and not another name for one.
LANGUAGES = sorted(
    path.parent.name for path in INSTALLED.glob("*/DVXTOOLS.RCT") if not path.is_symlink()
)
# So many programs run side by side, and share a page of the contact sheet.
BATCH = 6
BATCHES = [LANGUAGES[begin : begin + BATCH] for begin in range(0, len(LANGUAGES), BATCH)]
# A theme with visible buttons and frames; a desktop brings its own.
THEME = {"GTK2_RC_FILES": "/usr/share/themes/Clearlooks/gtk-2.0/gtkrc"}
# Its search does not end before it is cancelled: answers to it come for a minute.
SLOW = "[scanner Slow]\ncopies.discovery = 600\ncopy_gap.discovery = 100\n"

GENERAL_TEXTS = {111, 113, 114, 116, 119, 121, 123, 211}
NETWORK_TEXTS = {111, 211, 212, 213, 214, 215, 216, 217, 218, 219, 220}
MESSAGE_TEXTS = {127}
SEARCH_TEXTS = {311}


def environment(language):
    """LANG alone decides about the file; GTK's own texts come by LANGUAGE, without that locale."""
    return {"LANG": f"{language}.UTF-8", "LC_ALL": "C.UTF-8", "LANGUAGE": language, **THEME}


def texts_of(language):
    """The texts of a language file by their number, as the windows show them."""
    lines = (INSTALLED / language / "DVXTOOLS.RCT").read_text().splitlines()
    entries = [re.fullmatch(r"(\d+)=(.*)", line) for line in lines]
    return {int(entry[1]): entry[2].replace("_", "") for entry in entries if entry}


@pytest.fixture(scope="module", autouse=True)
def empty_sheets():
    """No pictures of an earlier run."""
    shutil.rmtree(SHEETS, ignore_errors=True)
    SHEETS.mkdir()


@pytest.fixture(autouse=True)
def installed_languages(fresh_machine):
    shutil.copytree(INSTALLED, program.SHARE / "data", symlinks=True)


class Viewer:
    """Looks at all windows of a program that runs in one language."""

    def __init__(self, language, window, folder):
        self.language = language
        self.window = window
        self.folder = folder
        self.texts = texts_of(language)
        self.faults = []
        self.pictures = []

    def look_at(self, name, window, numbers, managed):
        shown = reading.shown_in(window)
        missing = {self.texts[number] for number in numbers} - {item.text for item in shown}
        found = [f"not shown: {text!r}" for text in missing] + reading.faults(shown)
        self.faults += [f"{self.language}, {name}: {fault}" for fault in found]
        self.pictures.append(self.folder / f"{self.language}-{name}.png")
        screen.save_content(managed, self.pictures[-1])

    def look_at_page(self, name, page, numbers):
        self.window.show_page(page)
        self.look_at(name, self.window, numbers, ManagedWindow.main_of(self.window.tool))

    def look_at_dialog(self, name, dialog, numbers):
        self.look_at(name, dialog, numbers, ManagedWindow.dialog_of(self.window.tool))
        dialog.find("push button").press()
        self.window.wait_for_no_dialog()

    def look_at_all(self):
        self.look_at_page("general", GENERAL, GENERAL_TEXTS)
        self.window.scan_entry.type_over("/no/such/folder")
        self.window.apply.press()
        self.look_at_dialog("message", self.window.wait_for_dialog("alert"), MESSAGE_TEXTS)
        self.look_at_page("network", NETWORK, NETWORK_TEXTS)
        self.look_at_dialog("search", self.window.begin_search(), SEARCH_TEXTS)


def letters_of_fonts():
    """The code points that some font of this machine has, as ranges with their ends."""
    command = ["fc-list", "--format", "%{charset} "]
    done = subprocess.run(command, capture_output=True, text=True, check=True, timeout=60)
    ends = [word.split("-") for word in set(done.stdout.split())]
    return [(int(pair[0], 16), int(pair[-1], 16)) for pair in ends]


def test_fonts_have_every_letter():
    ranges = letters_of_fonts()
    letters = set("".join(text for name in LANGUAGES for text in texts_of(name).values()))
    unknown = [
        letter
        for letter in sorted(letters)
        if not any(first <= ord(letter) <= last for first, last in ranges)
    ]
    assert not unknown, f"the pictures show boxes in place of {unknown}"


def convert(command, *words):
    subprocess.run([command, *map(str, words)], check=True, timeout=120)


def make_sheet(viewers, folder):
    """A page with a row for each language: its two tabs, and its dialogs below each other."""
    words = []
    for viewer in viewers:
        general, message, network, search = viewer.pictures
        dialogs = folder / f"{viewer.language}-dialogs.png"
        spaced = ["-background", "gray", "-bordercolor", "gray", "-border", "8"]
        convert("convert", message, search, *spaced, "-append", dialogs)
        words += ["-label", viewer.language, general, "-label", "", network, dialogs]
    name = f"{viewers[0].language}-{viewers[-1].language}.png"
    layout = ["-tile", "3x", "-geometry", "+8+8", "-background", "gray", "-pointsize", 24]
    convert("montage", *words, *layout, SHEETS / name)


@pytest.mark.parametrize("languages", BATCHES, ids="-".join)
def test_every_text_can_be_read(languages, open_windows, start_scanners, tmp_path):
    peers = start_scanners(3)
    windows = open_windows([{"environment": environment(language)} for language in languages])
    peers.stop()
    start_scanners(SLOW)
    viewers = [Viewer(*each, tmp_path) for each in zip(languages, windows)]
    for viewer in viewers:
        viewer.look_at_all()
    make_sheet(viewers, tmp_path)
    faults = [fault for viewer in viewers for fault in viewer.faults]
    assert not faults, "\n".join(faults)


TOO_LONG = "Dieser Text ist zu lang, als dass er noch in das Fenster passte, und das wird gesehen."


def test_texts_that_are_too_long_are_seen(open_window):
    content = (INSTALLED / "de" / "DVXTOOLS.RCT").read_text()
    # All but the title, each with its number in front.
    content = re.sub(r"(?m)^(?!10=)(\d+)=.*$", rf"\1=\1 {TOO_LONG}", content)
    program.install_language("de", content)
    window = open_window(environment=environment("de"))
    for page, numbers in ((GENERAL, GENERAL_TEXTS), (NETWORK, NETWORK_TEXTS)):
        window.show_page(page)
        faults = "\n".join(reading.faults(reading.shown_in(window)))
        unseen = [number for number in numbers if f"'{number} {TOO_LONG}'" not in faults]
        assert not unseen, f"{unseen} are not among these:\n{faults}"


def test_boxes_that_touch_do_not_overlap():
    box = reading.Box(100, 100, 50, 20)
    assert not box.overlaps(reading.Box(150, 100, 50, 20))
    assert not box.overlaps(reading.Box(50, 100, 50, 20))
    assert not box.overlaps(reading.Box(100, 120, 50, 20))
    assert not box.overlaps(reading.Box(100, 80, 50, 20))
    assert box.overlaps(reading.Box(149, 119, 50, 20))
    assert box.overlaps(reading.Box(51, 81, 50, 20))
