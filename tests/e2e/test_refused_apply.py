"""Apply and OK while a path does not hold what it should."""
import subprocess

import pytest

from desktop_driver import program
from desktop_driver.main_window import GENERAL, NETWORK
from desktop_driver.waiting import wait_until
from desktop_driver.xwindows import ManagedWindow

SCAN_MESSAGE = "Save to : The specified path doesn't exist."
OCR_MESSAGE = "OCR Path : The specified path doesn't exist."


@pytest.fixture
def read_only_folder(tmp_path):
    """A folder on a read-only file system, which not even root may write to."""
    folder = tmp_path / "read-only"
    folder.mkdir()
    subprocess.run(["mount", "-t", "tmpfs", "-o", "ro", "tmpfs", folder], check=True)
    yield folder
    subprocess.run(["umount", folder], check=True)


def refusal(window):
    """The message box that is open."""
    return window.wait_for_dialog("alert")


def message_of(box):
    return [label.name for label in box.all("label") if label.showing]


def confirm(window):
    refusal(window).find("push button").press()
    window.wait_for_no_dialog()


def test_missing_save_folder(open_window):
    window = open_window()
    window.scan_entry.type_over("/no/such/folder")
    window.apply.press()
    assert message_of(refusal(window)) == [SCAN_MESSAGE]
    confirm(window)
    assert window.apply.sensitive
    assert not program.settings_file().exists()
    assert window.scan_entry.text == "/no/such/folder"


def test_empty_save_folder(open_window):
    window = open_window()
    window.scan_entry.type_over("")
    window.apply.press()
    assert message_of(refusal(window)) == [SCAN_MESSAGE]
    confirm(window)
    assert not program.settings_file().exists()


def test_read_only_save_folder_counts_as_missing(open_window, read_only_folder):
    window = open_window()
    window.scan_entry.type_over(str(read_only_folder))
    window.apply.press()
    assert message_of(refusal(window)) == [SCAN_MESSAGE]
    confirm(window)
    assert not program.settings_file().exists()


def test_save_folder_without_write_permission_counts_as_missing(open_window, tmp_path):
    tmp_path.chmod(0o555)
    window = open_window(wrapper=program.HEED_FILE_MODES)
    window.scan_entry.type_over(str(tmp_path))
    window.apply.press()
    assert message_of(refusal(window)) == [SCAN_MESSAGE]


def test_writable_file_passes_for_a_save_folder(open_window, tmp_path):
    file = tmp_path / "file"
    file.touch()
    window = open_window()
    window.scan_entry.type_over(str(file))
    window.wait_for_apply()
    assert window.other_windows() == []


@pytest.mark.parametrize("mode", [None, 0o644], ids=["missing", "not executable"])
def test_ocr_program(open_window, tmp_path, mode):
    ocr = tmp_path / "ocr"
    if mode is not None:
        ocr.touch()
        ocr.chmod(mode)
    window = open_window()
    window.ocr_entry.type_over(str(ocr))
    window.apply.press()
    assert message_of(refusal(window)) == [OCR_MESSAGE]
    confirm(window)
    assert window.apply.sensitive
    assert not program.settings_file().exists()


def test_executable_ocr_program_is_accepted(open_window, tmp_path):
    ocr = tmp_path / "ocr"
    ocr.touch()
    ocr.chmod(0o755)
    window = open_window()
    window.ocr_entry.type_over(str(ocr))
    window.wait_for_apply()
    assert f'ocrpath="{ocr}"\n' in program.settings_file().read_text()


def test_empty_ocr_program_is_accepted(open_window):
    window = open_window()
    window.ocr_entry.type_over("/bin/true")
    window.ocr_entry.type_over("")
    window.wait_for_apply()
    assert 'ocrpath=""\n' in program.settings_file().read_text()


def test_only_the_save_folder_is_named_when_both_are_wrong(open_window):
    window = open_window()
    window.scan_entry.type_over("/no/such/folder")
    window.ocr_entry.type_over("/no/such/program")
    window.apply.press()
    assert message_of(refusal(window)) == [SCAN_MESSAGE]
    confirm(window)
    assert window.apply.sensitive


def test_box_is_an_information_with_ok_over_the_main_window(open_window):
    window = open_window()
    window.scan_entry.type_over("")
    window.apply.press()
    box = refusal(window)
    assert box.find("icon").name == "Information"
    assert [button.name for button in box.all("push button")] == ["OK"]
    assert box.modal
    managed = ManagedWindow.dialog_of(window.tool)
    assert managed.title == "Veltrana DVX Tools"
    assert managed.owner == int(ManagedWindow.main_of(window.tool).number, 16)


@pytest.mark.parametrize("key", ["Escape", "Return"])
def test_box_can_be_left_by_the_keyboard(open_window, key):
    window = open_window()
    window.scan_entry.type_over("")
    window.apply.press()
    refusal(window)
    ManagedWindow.dialog_of(window.tool).press_keys(key)
    window.wait_for_no_dialog()
    assert window.apply.sensitive


def test_box_can_be_closed(open_window):
    window = open_window()
    window.scan_entry.type_over("")
    window.apply.press()
    refusal(window)
    ManagedWindow.dialog_of(window.tool).close()
    window.wait_for_no_dialog()
    assert window.apply.sensitive


def test_first_page_comes_to_the_front_behind_the_box(open_network_page):
    window = open_network_page()
    window.scan_entry.type_over("/no/such/folder")
    window.apply.press()
    refusal(window)
    assert window.page == NETWORK
    confirm(window)
    wait_until(lambda: window.page == GENERAL, "the General page in front")


def test_ok_keeps_the_window_open(open_network_page):
    window = open_network_page()
    window.ocr_entry.type_over("/no/such/program")
    window.ok.press()
    assert message_of(refusal(window)) == [OCR_MESSAGE]
    confirm(window)
    wait_until(lambda: window.page == GENERAL, "the General page in front")
    assert window.tool.process.poll() is None
    assert window.apply.sensitive
    assert not program.settings_file().exists()
    window.ocr_entry.type_over("/bin/true")
    window.ok.press()
    assert window.tool.wait_for_end() == 0
    assert 'ocrpath="/bin/true"\n' in program.settings_file().read_text()


def test_old_settings_stay_as_they_are(open_window):
    file = program.settings_file()
    file.parent.mkdir()
    file.write_text('pcname="old"\n')
    window = open_window()
    window.scan_entry.type_over("/no/such/folder")
    window.ok.press()
    confirm(window)
    window.cancel.press()
    assert window.tool.wait_for_end() == 0
    assert file.read_text() == 'pcname="old"\n'


def test_scanners_are_not_told(open_network_page, start_scanners):
    peers = start_scanners(1)
    window = open_network_page()
    window.name_entry.type_over("front-desk")
    window.scan_entry.type_over("/no/such/folder")
    window.apply.press()
    confirm(window)
    window.scan_entry.type_over(str(program.scan_folder()))
    window.wait_for_apply()
    # One command, of the Apply that was accepted.
    assert len(peers.asked("register")) == 1


def test_folder_that_vanished_since_the_start_is_noticed(open_network_page):
    window = open_network_page()
    program.scan_folder().rmdir()
    window.name_entry.type_over("front-desk")
    window.apply.press()
    assert message_of(refusal(window)) == [SCAN_MESSAGE]
