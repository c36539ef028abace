"""The first start on a machine that has neither settings nor a language file nor scanners."""
import stat

from desktop_driver import program
from desktop_driver.main_window import GENERAL, NETWORK
from desktop_driver.xwindows import ManagedWindow

OPEN_ERROR = "void CMainTabs::ReadFile(): Setting File open Error\n"


def mode_of(path):
    return stat.S_IMODE(path.stat().st_mode)


def labels_of(page):
    return sorted(label.name for label in page.all("label"))


def test_makes_the_default_scan_folder_readable_for_all(open_window):
    window = open_window()
    scan = program.home() / "Veltrana" / "DVX" / "Scan"
    modes = {str(path): oct(mode_of(path)) for path in (scan, scan.parent, scan.parent.parent)}
    assert set(modes.values()) == {"0o755"}, modes
    assert window.scan_entry.text == str(scan)


def test_makes_missing_folders_below_existing_ones(open_window):
    folder = program.home() / "Veltrana"
    folder.mkdir(mode=0o700)
    open_window()
    assert mode_of(folder) == 0o700
    assert mode_of(folder / "DVX" / "Scan") == 0o755


def test_shows_the_english_texts(open_window):
    window = open_window()
    assert window.name == "Veltrana DVX Tools"
    assert [tab.name for tab in window.tabs.children()] == ["General", "Network"]
    assert labels_of(window.general) == ["OCR Path:", "OCR setting", "Save to:", "Scan"]
    assert [button.name for button in window.general.all("push button")] == ["Browse..."] * 2
    assert labels_of(window.network) == [
        "Configure Network Device",
        "PC name list up on device",
        "PC name:",
    ]
    assert window.list_up.name == "PC name list up on device"
    assert window.devices.titles() == ["Model Name", "Machine Name", "IP Address"]
    assert window.search.name == "Search"
    assert window.configure.name == "Configure..."
    assert [window.apply.name, window.ok.name, window.cancel.name] == ["Apply", "OK", "Cancel"]


def test_frames_hold_their_controls(open_window):
    window = open_window()
    frames = {panel.name: panel for panel in window.all("panel") if panel.name}
    assert sorted(frames) == ["OCR setting", "PC name list up on device", "Scan"]
    assert frames["Scan"].find("text").text == window.scan_entry.text
    assert "OCR Path:" in labels_of(frames["OCR setting"])
    assert frames["PC name list up on device"].find("check box").name == window.list_up.name
    assert "PC name:" in labels_of(frames["PC name list up on device"])


def test_starts_unmodified_on_the_first_page(open_window):
    window = open_window()
    assert window.page == GENERAL
    assert not window.apply.sensitive
    assert window.ok.sensitive
    assert window.cancel.sensitive


def test_general_page_holds_the_defaults(open_window):
    window = open_window()
    assert window.scan_entry.text == str(program.scan_folder())
    assert window.ocr_entry.text == ""


def test_network_page_holds_the_defaults(open_window):
    window = open_window()
    window.show_page(NETWORK)
    assert window.name_entry.text == "lab-desk"
    assert window.name_entry.sensitive
    assert window.list_up.checked
    assert window.devices.rows() == []
    assert window.search.sensitive
    assert not window.configure.sensitive


def test_lays_out_the_network_page_from_top_to_bottom(open_window):
    window = open_window()
    window.show_page(NETWORK)
    heading = window.network.find("label", "Configure Network Device")
    column = [window.list_up, window.name_entry, heading, window.devices, window.search]
    tops = [control.place()[1] for control in column]
    assert tops == sorted(tops), tops
    search, configure = window.search.place(), window.configure.place()
    assert search[1] == configure[1]
    assert search[0] + search[2] < configure[0], "Search is left of Configure..."


def test_buttons_stand_at_the_lower_right_in_order(open_window):
    window = open_window()
    managed = ManagedWindow.main_of(window.tool)
    left, top = managed.position
    places = [button.place() for button in (window.apply, window.ok, window.cancel)]
    assert places == sorted(places), places
    assert len({place[1] for place in places}) == 1, places
    right, below = places[-1][0] + places[-1][2], places[-1][1] + places[-1][3]
    assert (right - left, below - top) == (638 - 10, 446 - 10)


def test_window_is_638_by_446_and_resizable(open_window):
    window = open_window()
    managed = ManagedWindow.main_of(window.tool)
    assert managed.title == "Veltrana DVX Tools"
    assert managed.size == (638, 446)
    assert managed.size_hint("minimum") == (638, 446)
    assert managed.size_hint("maximum") is None
    assert managed.has_close_button
    assert "RESIZE" in managed.allowed_actions


def test_window_can_grow_but_not_shrink(open_window):
    window = open_window()
    managed = ManagedWindow.main_of(window.tool)
    managed.ask_for_size(800, 500)
    managed.wait_for_size(800, 500)
    managed.ask_for_size(300, 200)
    managed.wait_for_size(638, 446)


def test_window_is_centred_on_the_screen(open_window):
    window = open_window()
    managed = ManagedWindow.main_of(window.tool)
    left, top = managed.position
    # The frame of the window manager takes some of the 1280 x 1024 pixels.
    assert abs(left - (1280 - 638) // 2) <= 10, (left, top)
    assert abs(top - (1024 - 446) // 2) <= 25, (left, top)


def test_says_on_standard_error_that_there_are_no_settings(open_window):
    assert open_window().tool.errors == OPEN_ERROR


def test_writes_no_settings_before_apply(open_window):
    window = open_window()
    window.cancel.press()
    assert window.tool.wait_for_end() == 0
    assert not program.settings_file().parent.exists()
    assert window.tool.errors == OPEN_ERROR


def test_takes_the_home_folder_of_the_user_and_not_of_the_environment(open_window, tmp_path):
    window = open_window(environment={"HOME": str(tmp_path)})
    assert window.scan_entry.text == str(program.scan_folder())
    assert program.scan_folder().is_dir()
    window.ok.press()
    assert window.tool.wait_for_end() == 0
    assert program.settings_file().exists()
    assert not (tmp_path / ".VeltranaDVX").exists()
    assert not (tmp_path / "Veltrana").exists()
