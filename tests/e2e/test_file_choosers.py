"""The choosers behind the two Browse buttons."""
import pytest

from desktop_driver import program
from desktop_driver.waiting import wait_until
from desktop_driver.xwindows import ManagedWindow


def choose(window, chooser, name):
    """Selects a row of the open chooser's list and accepts it."""
    files = chooser.find("table", "Files")

    def row_of_name():
        names = [row[0] for row in files.rows()]
        return [index for index, shown in enumerate(names) if shown == name]

    (row,) = wait_until(row_of_name, f"{name!r} in the list")
    files.select_row(row)
    chooser.find("push button", "OK").press()
    window.wait_for_no_dialog()


def open_chooser(window, button):
    button.press()
    return window.wait_for_dialog()


def path_bar(chooser):
    """The folders whose buttons the chooser shows above its list, from the file system's root."""
    buttons = [button for button in chooser.all("toggle button") if button.checked]
    return [button.name for button in buttons]


@pytest.fixture
def sub_folder(tmp_path):
    folder = tmp_path / "chosen"
    folder.mkdir()
    return folder


@pytest.mark.parametrize(
    "button, title", [("scan_browse", "Select Folder"), ("ocr_browse", "Select File")]
)
def test_title_and_buttons(open_window, button, title):
    window = open_window()
    chooser = open_chooser(window, getattr(window, button))
    assert chooser.name == title
    # GTK puts OK first, unless the desktop says otherwise.
    labels = sorted(b.name for b in chooser.all("push button") if b.name in ("OK", "Cancel"))
    assert labels == ["Cancel", "OK"]
    managed = ManagedWindow.dialog_of(window.tool)
    assert managed.title == title
    assert managed.owner == int(ManagedWindow.main_of(window.tool).number, 16)


def test_folder_chooser_starts_in_the_save_folder(open_window):
    window = open_window()
    chooser = open_chooser(window, window.scan_browse)
    wait_until(lambda: path_bar(chooser) == ["Scan"], "the folder Scan")


def test_folder_chooser_starts_in_the_edited_save_folder(open_window, sub_folder):
    window = open_window()
    window.scan_entry.type_over(str(sub_folder))
    chooser = open_chooser(window, window.scan_browse)
    wait_until(lambda: path_bar(chooser) == ["chosen"], "the folder chosen")


def test_chosen_folder_fills_the_entry_and_marks_modified(open_window, sub_folder):
    file = program.settings_file()
    file.parent.mkdir()
    file.write_text(f'scanpath="{sub_folder.parent}"\n')
    window = open_window()
    chooser = open_chooser(window, window.scan_browse)
    choose(window, chooser, "chosen")
    assert window.scan_entry.text == str(sub_folder)
    assert window.apply.sensitive
    window.wait_for_apply()
    assert f'scanpath="{sub_folder}"\n' in file.read_text()


def test_ok_takes_the_folder_that_is_shown(open_window, sub_folder):
    window = open_window()
    window.scan_entry.type_over(str(sub_folder))
    window.wait_for_apply()
    chooser = open_chooser(window, window.scan_browse)
    wait_until(lambda: path_bar(chooser) == ["chosen"], "the folder chosen")
    chooser.find("push button", "OK").press()
    window.wait_for_no_dialog()
    assert window.scan_entry.text == str(sub_folder)
    # It is the one that was there: no edit.
    assert not window.apply.sensitive


@pytest.mark.parametrize("button", ["scan_browse", "ocr_browse"])
@pytest.mark.parametrize("way", ["Cancel", "Escape", "close"])
def test_cancelled_chooser_changes_nothing(open_window, button, way):
    window = open_window()
    chooser = open_chooser(window, getattr(window, button))
    if way == "Cancel":
        chooser.find("push button", "Cancel").press()
    elif way == "Escape":
        ManagedWindow.dialog_of(window.tool).press_keys("Escape")
    else:
        ManagedWindow.dialog_of(window.tool).close()
    window.wait_for_no_dialog()
    assert window.scan_entry.text == str(program.scan_folder())
    assert window.ocr_entry.text == ""
    assert not window.apply.sensitive


def test_file_chooser_starts_in_the_folder_of_the_program(open_window, sub_folder):
    window = open_window()
    window.ocr_entry.type_over(f"{sub_folder}/ocr")
    chooser = open_chooser(window, window.ocr_browse)
    wait_until(lambda: path_bar(chooser) == ["chosen"], "the folder chosen")


def test_chosen_file_fills_the_entry_and_marks_modified(open_window, sub_folder):
    # GTK itself selects the first one.
    for name in ("a file", "ocr program", "old"):
        (sub_folder / name).touch(0o755)
    file = program.settings_file()
    file.parent.mkdir()
    file.write_text(f'ocrpath="{sub_folder}/old"\n')
    window = open_window()
    assert not window.apply.sensitive
    chooser = open_chooser(window, window.ocr_browse)
    choose(window, chooser, "ocr program")
    assert window.ocr_entry.text == f"{sub_folder}/ocr program"
    assert window.apply.sensitive
    window.wait_for_apply()
    assert f'ocrpath="{sub_folder}/ocr program"\n' in file.read_text()


def test_chosen_file_is_checked_on_apply_only(open_window, sub_folder):
    (sub_folder / "text").touch(0o644)
    window = open_window()
    window.ocr_entry.type_over(f"{sub_folder}/")
    chooser = open_chooser(window, window.ocr_browse)
    choose(window, chooser, "text")
    assert window.ocr_entry.text == f"{sub_folder}/text"
    window.apply.press()
    window.wait_for_dialog("alert")


def test_both_choosers_can_be_used_in_turn(open_window, sub_folder):
    (sub_folder / "ocr").touch(0o755)
    (sub_folder / "in").mkdir()
    window = open_window()
    for _ in range(2):
        window.scan_entry.type_over(str(sub_folder))
        window.ocr_entry.type_over(f"{sub_folder}/")
        choose(window, open_chooser(window, window.scan_browse), "in")
        choose(window, open_chooser(window, window.ocr_browse), "ocr")
        assert window.scan_entry.text == f"{sub_folder}/in"
        assert window.ocr_entry.text == f"{sub_folder}/ocr"
