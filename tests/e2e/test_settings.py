"""The settings file as the program writes it."""
import os
import stat

import pytest

from desktop_driver import program
from desktop_driver.main_window import GENERAL, NETWORK
from desktop_driver.waiting import wait_until
from desktop_driver.xwindows import ManagedWindow

OPEN_ERROR = "void CMainTabs::ReadFile(): Setting File open Error\n"
WRITE_ERROR = "CMainTabs::WriteFile() can't open file.\n"


def written():
    return program.settings_file().read_bytes().decode()


def settings(scan=None, ocr="", name="lab-desk", flag="1"):
    scan = program.scan_folder() if scan is None else scan
    return f'scanpath="{scan}"\nocrpath="{ocr}"\npcname="{name}"\npcListUp="{flag}"\n'


def test_apply_writes_four_lines(open_network_page):
    window = open_network_page()
    window.name_entry.type_over("front-desk")
    window.wait_for_apply()
    assert written() == settings(name="front-desk")


def test_ok_writes_the_defaults_without_a_change(open_window):
    window = open_window()
    window.ok.press()
    assert window.tool.wait_for_end() == 0
    assert written() == settings()


def test_every_value_is_written(open_network_page, tmp_path):
    window = open_network_page()
    window.scan_entry.type_over(str(tmp_path))
    window.ocr_entry.type_over("/bin/true")
    window.name_entry.type_over("my-pc.(1)")
    window.list_up.press()
    window.wait_for_apply()
    assert written() == settings(tmp_path, "/bin/true", "my-pc.(1)", "0")


def test_quotes_in_a_value_are_written_as_they_are(open_network_page, tmp_path):
    folder = tmp_path / 'a "b" = c'
    folder.mkdir()
    window = open_network_page()
    window.scan_entry.type_over(str(folder))
    window.wait_for_apply()
    assert written() == settings(folder)


def test_empty_name_is_written_as_the_host_name(open_network_page):
    window = open_network_page()
    window.name_entry.type_over("")
    window.wait_for_apply()
    assert written() == settings(name="lab-desk")
    assert window.name_entry.text == ""


def test_folder_is_made_readable_for_all(open_window):
    window = open_window()
    window.ok.press()
    assert window.tool.wait_for_end() == 0
    assert stat.S_IMODE(program.settings_file().parent.stat().st_mode) == 0o755


def test_existing_folder_keeps_its_mode(open_window):
    folder = program.settings_file().parent
    folder.mkdir(mode=0o700)
    window = open_window()
    window.ok.press()
    assert window.tool.wait_for_end() == 0
    assert stat.S_IMODE(folder.stat().st_mode) == 0o700
    assert written() == settings()


def test_old_file_is_replaced_whole(open_window):
    file = program.settings_file()
    file.parent.mkdir()
    file.write_text('# mine\npcname="old"\nextra="1"\n' + "x" * 5000 + "\n")
    window = open_window()
    window.ok.press()
    assert window.tool.wait_for_end() == 0
    assert written() == settings(name="old")


def test_file_keeps_its_identity(open_window):
    """It is rewritten in place, so a link that a user put there stays one."""
    file = program.settings_file()
    file.parent.mkdir()
    other = file.parent / "elsewhere.conf"
    other.write_text('pcname="linked"\n')
    file.symlink_to(other)
    window = open_window()
    window.ok.press()
    assert window.tool.wait_for_end() == 0
    assert file.is_symlink()
    assert other.read_text() == settings(name="linked")


def test_apply_counts_and_later_edits_are_dropped(open_network_page):
    window = open_network_page()
    window.name_entry.type_over("applied")
    window.wait_for_apply()
    window.name_entry.type_over("dropped")
    window.cancel.press()
    assert window.tool.wait_for_end() == 0
    assert written() == settings(name="applied")


def test_cancel_keeps_the_old_file(open_network_page):
    file = program.settings_file()
    file.parent.mkdir()
    file.write_text('pcname="old"\n')
    window = open_network_page()
    window.name_entry.type_over("new")
    window.list_up.press()
    window.cancel.press()
    assert window.tool.wait_for_end() == 0
    assert file.read_text() == 'pcname="old"\n'


def test_closing_the_window_keeps_the_old_file(open_network_page):
    file = program.settings_file()
    file.parent.mkdir()
    file.write_text('pcname="old"\n')
    window = open_network_page()
    window.name_entry.type_over("new")
    ManagedWindow.main_of(window.tool).close()
    assert window.tool.wait_for_end() == 0
    assert file.read_text() == 'pcname="old"\n'


def test_settings_come_back_at_the_next_start(open_network_page, tmp_path):
    window = open_network_page()
    window.scan_entry.type_over(str(tmp_path))
    window.ocr_entry.type_over("/bin/true")
    window.name_entry.type_over("kept")
    window.list_up.press()
    window.ok.press()
    assert window.tool.wait_for_end() == 0
    again = open_network_page()
    assert again.scan_entry.text == str(tmp_path)
    assert again.ocr_entry.text == "/bin/true"
    assert again.name_entry.text == "kept"
    assert not again.list_up.checked
    assert again.tool.errors == ""


@pytest.mark.parametrize("edited", ["scan_entry", "ocr_entry", "name_entry", "list_up"])
def test_every_edit_enables_apply(open_network_page, edited):
    window = open_network_page()
    assert not window.apply.sensitive
    control = getattr(window, edited)
    if edited == "list_up":
        control.press()
    else:
        control.type_over(control.text + "/" if edited == "scan_entry" else "x")
    wait_until(lambda: window.apply.sensitive, "Apply to be enabled")


def test_apply_can_be_used_again_and_again(open_network_page):
    window = open_network_page()
    for name in ("first", "second", "third"):
        window.name_entry.type_over(name)
        window.wait_for_apply()
        assert written() == settings(name=name)


def test_turning_pages_is_no_edit(open_network_page):
    window = open_network_page()
    window.show_page(GENERAL)
    window.show_page(NETWORK)
    assert not window.apply.sensitive


def test_file_that_cannot_be_written_is_reported_and_apply_counts(open_network_page):
    program.settings_file().mkdir(parents=True)
    window = open_network_page()
    # A folder can be opened for reading; there is just nothing to read in it.
    assert window.tool.errors == ""
    window.name_entry.type_over("front-desk")
    window.wait_for_apply()
    assert window.tool.errors == WRITE_ERROR
    assert window.other_windows() == []
    window.ok.press()
    assert window.tool.wait_for_end() == 0
    assert window.tool.errors == WRITE_ERROR * 2


def test_folder_that_cannot_be_made_is_reported_and_apply_counts(open_network_page):
    program.settings_file().parent.write_text("a file where the folder should be\n")
    window = open_network_page()
    window.name_entry.type_over("front-desk")
    window.wait_for_apply()
    assert window.tool.errors == OPEN_ERROR + WRITE_ERROR
    assert window.other_windows() == []


def test_folder_without_write_permission_is_reported(open_network_page):
    folder = program.settings_file().parent
    folder.mkdir()
    folder.chmod(0o555)
    window = open_network_page(wrapper=program.HEED_FILE_MODES)
    window.ok.press()
    assert window.tool.wait_for_end() == 0
    assert window.tool.errors == OPEN_ERROR + WRITE_ERROR
    assert os.listdir(folder) == []
