"""The windows with the themes and fonts that people choose: whether everything can be read.

Leaves pictures of all windows in the build folder, in looks/, for a person to look over.
"""
import os
import pathlib
import shutil
import subprocess

import pytest

from desktop_driver import program, reading, screen
from desktop_driver.contrast import Picture, ratio_of
from desktop_driver.main_window import GENERAL, NETWORK
from desktop_driver.waiting import wait_until
from desktop_driver.xwindows import ManagedWindow

PICTURES = pathlib.Path(os.environ["VELTRANA_BUILD"]) / "looks"
LANGUAGES = pathlib.Path(__file__).resolve().parents[2] / "data" / "lang"

# A theme whose colours are those of one setting in it.
THEME = pathlib.Path("/usr/share/themes/Clearlooks/gtk-2.0/gtkrc")
DARK = {
    "fg_color": "#eeeeec",
    "bg_color": "#2e3436",
    "base_color": "#1d2123",
    "text_color": "#eeeeec",
    "selected_fg_color": "#ffffff",
    "selected_bg_color": "#215d9c",
    "tooltip_fg_color": "#eeeeec",
    "tooltip_bg_color": "#1d2123",
}


def in_colours(colours):
    """The theme in other colours than its own."""
    scheme = r"\n".join(f"{name}:{value}" for name, value in colours.items())
    lines = THEME.read_text().splitlines()
    (number,) = (i for i, line in enumerate(lines) if line.startswith("gtk-color-scheme"))
    lines[number] = f'gtk-color-scheme = "{scheme}"'
    return "\n".join(lines) + "\n"


def text_scale(factor):
    """X resources that make texts larger, as a desktop does it: by the dots per inch."""
    return f"Xft.dpi: {96 * factor}\n"


# What is in the theme's file and in that of the X resources. Without a theme GTK has its own.
LOOKS = {
    "default": ("", ""),
    "dark": (in_colours(DARK), ""),
    "large": ("", text_scale(2)),
    "dark-large": (in_colours(DARK), text_scale(2)),
}
SIZE = (638, 446)
# What every text must reach (WCAG 2.1, level AA).
CONTRAST = 4.5
# Its search does not end before it is cancelled: answers to it come for a minute.
SLOW = "[scanner Slow]\ncopies.discovery = 600\ncopy_gap.discovery = 100\n"


@pytest.fixture(scope="module", autouse=True)
def empty_folder():
    """No pictures of an earlier run."""
    shutil.rmtree(PICTURES, ignore_errors=True)
    PICTURES.mkdir()


@pytest.fixture
def look(tmp_path):
    """Gives the environment of a program with this theme and these X resources."""

    def environment(theme, resources):
        files = {"GTK2_RC_FILES": theme, "XENVIRONMENT": resources}
        paths = {name: tmp_path / f"{name}-{hash((theme, resources))}" for name in files}
        for name, content in files.items():
            paths[name].write_text(content)
        return {name: str(path) for name, path in paths.items()}

    return environment


def faint_texts(window, picture):
    """The texts that do not stand out from their ground, as sentences."""
    found = [(item, picture.contrast(item.seen)) for item in reading.written_in(window)]
    return [f"contrast {ratio:.1f}: {item.what}" for item, ratio in found if ratio < CONTRAST]


class Viewer:
    """Looks at all windows of a program with one look."""

    def __init__(self, name, window):
        self.name = name
        self.window = window
        self.faults = []
        self.pictures = []

    def look_at(self, name, window, managed):
        path = PICTURES / f"{self.name}-{name}.png"
        self.pictures.append(path)
        screen.save_content(managed, path)
        found = reading.faults(reading.shown_in(window))
        found += faint_texts(window, Picture(path, managed.position))
        self.faults += [f"{self.name}, {name}: {fault}" for fault in found]

    def look_at_page(self, name, page):
        self.window.show_page(page)
        managed = ManagedWindow.main_of(self.window.tool)
        self.look_at(name, self.window, managed)
        if managed.size != SIZE:
            self.faults.append(f"{self.name}, {name}: the window has a size of {managed.size}")

    def look_at_dialog(self, name, dialog):
        self.look_at(name, dialog, ManagedWindow.dialog_of(self.window.tool))
        dialog.find("push button").press()
        self.window.wait_for_no_dialog()

    def look_at_all(self):
        self.look_at_page("general", GENERAL)
        self.window.scan_entry.type_over("/no/such/folder")
        self.window.apply.press()
        self.look_at_dialog("message", self.window.wait_for_dialog("alert"))
        self.window.show_page(NETWORK)
        self.window.devices.select_row(0)
        wait_until(lambda: self.window.configure.sensitive, "Configure... to be enabled")
        self.look_at_page("network", NETWORK)
        self.look_at_dialog("search", self.window.begin_search())

    def make_sheet(self):
        """One picture of all."""
        layout = ["-tile", "2x", "-geometry", "+8+8", "-background", "gray"]
        command = ["montage", *map(str, self.pictures), *layout, PICTURES / f"{self.name}.png"]
        subprocess.run(command, check=True, timeout=120)


def test_every_text_can_be_read_with_each_look(open_windows, start_scanners, look):
    peers = start_scanners(3)
    windows = open_windows([{"environment": look(*each)} for each in LOOKS.values()])
    peers.stop()
    start_scanners(SLOW)
    viewers = [Viewer(*each) for each in zip(LOOKS, windows)]
    for viewer in viewers:
        viewer.look_at_all()
        viewer.make_sheet()
    faults = [fault for viewer in viewers for fault in viewer.faults]
    assert not faults, "\n".join(faults)


def cut_rows(window):
    """The cells of the list of which a part is out of sight."""
    items = reading.written_in(window)
    cells = [item for item in items if item.what.startswith("table cell")]
    assert cells, "no cell is to be seen"
    return [item for item in cells if item.drawn != item.seen]


def test_list_has_no_room_for_a_row_in_large_letters_until_the_window_grows(
    open_network_page, start_scanners, look
):
    start_scanners(3)
    window = open_network_page(environment=look(*LOOKS["large"]))
    managed = ManagedWindow.main_of(window.tool)
    assert managed.size == SIZE
    assert len(cut_rows(window)) > 0
    managed.ask_for_size(SIZE[0], 600)
    managed.wait_for_size(SIZE[0], 600)
    wait_until(lambda: not cut_rows(window), lambda: f"whole rows, not {cut_rows(window)}")


# Those whose texts are longest.
@pytest.mark.parametrize("language", ["de", "es", "fr", "uk"])
def test_larger_window_has_room_for_large_letters_in_every_language(
    open_window, start_scanners, look, language
):
    start_scanners(3)
    program.install_language(language, (LANGUAGES / language / "DVXTOOLS.RCT").read_text())
    words = {"LANG": f"{language}.UTF-8", "LC_ALL": "C.UTF-8", "LANGUAGE": language}
    window = open_window(environment={**look(*LOOKS["large"]), **words})
    managed = ManagedWindow.main_of(window.tool)
    managed.ask_for_size(1000, 600)
    managed.wait_for_size(1000, 600)

    def faults():
        return reading.faults(reading.shown_in(window))

    for page in (GENERAL, NETWORK):
        window.show_page(page)
        wait_until(lambda: not faults(), lambda: "\n".join(["texts in full", *faults()]))
    wait_until(lambda: not cut_rows(window), lambda: f"whole rows, not {cut_rows(window)}")


# --- whether it would be seen -------------------------------------------------------------------


def test_text_that_is_not_to_be_told_from_its_ground_is_seen(open_network_page, look, tmp_path):
    colours = {**DARK, "fg_color": "#4e5456", "text_color": "#3d4143"}
    window = open_network_page(environment=look(in_colours(colours), ""))
    managed = ManagedWindow.main_of(window.tool)
    screen.save_content(managed, tmp_path / "faint.png")
    found = faint_texts(window, Picture(tmp_path / "faint.png", managed.position))
    assert len(found) == len(reading.written_in(window)) > 10


def test_letters_that_are_too_large_are_seen(open_window, look):
    window = open_window(environment=look("", text_scale(4)))
    for page in (GENERAL, NETWORK):
        window.show_page(page)
        assert reading.faults(reading.shown_in(window))


def test_contrast_is_that_of_the_guidelines():
    assert ratio_of((0, 0, 0), (255, 255, 255)) == pytest.approx(21)
    assert ratio_of((255, 255, 255), (255, 255, 255)) == 1
    # The lightest grey that passes on white.
    assert ratio_of((118, 118, 118), (255, 255, 255)) == pytest.approx(4.54, abs=0.01)
