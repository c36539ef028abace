"""The program for those who do not see it, or do not use a mouse.

What a screen reader is told (names, roles, which label belongs to what), and everything that can be
done in the windows done with the keyboard alone.
"""
import pyatspi
import pytest

from desktop_driver import program
from desktop_driver.keyboard import Keyboard, focused_below
from desktop_driver.main_window import GENERAL, NETWORK
from desktop_driver.waiting import wait_until
from desktop_driver.xwindows import ManagedWindow

# What only arranges other controls. A screen reader passes over it unless it has a name.
CONTAINERS = {"filler", "panel", "split pane", "scroll pane", "scroll bar", "page tab list"}

HEADING = "Configure Network Device"
LIST_UP = "PC name list up on device"
SEARCHING = "Searching online devices..."
MESSAGE = "Save to : The specified path doesn't exist."

BUTTONS = [("push button", "Apply"), ("push button", "OK"), ("push button", "Cancel")]
GENERAL_PAGE = [
    ("page tab", "General"),
    ("panel", "Scan"),
    ("label", "Save to:"),
    ("text", "Save to:"),
    ("push button", "Browse..."),
    ("label", "Scan"),
    ("panel", "OCR setting"),
    ("label", "OCR Path:"),
    ("text", "OCR Path:"),
    ("push button", "Browse..."),
    ("label", "OCR setting"),
    ("page tab", "Network"),
    *BUTTONS,
]
NETWORK_PAGE = [
    ("page tab", "General"),
    ("page tab", "Network"),
    ("panel", LIST_UP),
    ("check box", LIST_UP),
    ("label", "PC name:"),
    ("text", "PC name:"),
    ("label", LIST_UP),
    ("label", HEADING),
    ("table", HEADING),
    ("table column header", "Model Name"),
    ("table column header", "Machine Name"),
    ("table column header", "IP Address"),
    ("push button", "Search"),
    ("push button", "Configure..."),
    *BUTTONS,
]
SEARCH_DIALOG = [("label", SEARCHING), ("progress bar", SEARCHING), ("push button", "Cancel")]
MESSAGE_BOX = [("icon", "Information"), ("label", MESSAGE), ("push button", "OK")]

# A survey of these does not end while somebody looks at the dialog.
ENDLESS = "".join(f"[scanner {number}]\ndelay.model = 2900\n" for number in range(20))


def read_out(control):
    """The role and the name of all that is shown below a control, as a screen reader meets it."""
    found = []
    for child in control.children():
        if not child.showing:
            continue
        if child.name or child.role not in CONTAINERS:
            found.append((child.role, child.name))
        # The rows of a list have tests of their own.
        inner = [c for c in child.children() if c.role == "table column header"]
        found += [(c.role, c.name) for c in inner] if child.role == "table" else read_out(child)
    return found


def keyboard_of(window):
    return Keyboard(ManagedWindow.main_of(window.tool), window)


def dialog_keyboard(window, role="dialog"):
    dialog = window.wait_for_dialog(role)
    return Keyboard(ManagedWindow.dialog_of(window.tool), dialog)


def kinds(controls):
    return [(control.role, control.name) for control in controls]


@pytest.fixture
def lasting_search(open_network_page, start_scanners):
    """The main window and the dialog of a search that goes on until the program is ended."""
    window = open_network_page()
    start_scanners(ENDLESS)
    return window, window.begin_search()


@pytest.fixture
def refused(open_window):
    """The main window, with the message about the save folder over it."""
    window = open_window()
    window.scan_entry.type_over("/no/such/folder")
    window.apply.press()
    window.wait_for_dialog("alert")
    return window


# --- what a screen reader is told ---------------------------------------------------------------


def test_general_page_is_read_in_the_order_in_which_it_is_seen(open_window):
    assert read_out(open_window()) == GENERAL_PAGE


def test_network_page_is_read_in_the_order_in_which_it_is_seen(open_network_page):
    assert read_out(open_network_page()) == NETWORK_PAGE


def test_search_dialog_is_read_from_top_to_bottom(lasting_search):
    _window, dialog = lasting_search
    assert read_out(dialog) == SEARCH_DIALOG


def test_message_box_is_read_from_top_to_bottom(refused):
    box = refused.wait_for_dialog("alert")
    assert box.name == "Information"
    assert read_out(box) == MESSAGE_BOX


@pytest.mark.parametrize(
    "button, title", [("scan_browse", "Select Folder"), ("ocr_browse", "Select File")]
)
def test_browse_buttons_are_told_apart_by_what_they_open(open_window, button, title):
    window = open_window()
    browse = getattr(window, button)
    assert browse.description == title
    browse.press()
    chooser = window.wait_for_dialog()
    assert chooser.name == title
    assert {("push button", "OK"), ("push button", "Cancel")} <= set(read_out(chooser))


def assert_tied(label, control):
    """A reader that stands on either of them finds the other."""
    assert control.related(pyatspi.RELATION_LABELLED_BY) == [label]
    assert control in label.related(pyatspi.RELATION_LABEL_FOR)


def test_labels_of_the_general_page_are_tied_to_the_entries(open_window):
    window = open_window()
    assert_tied(window.general.find("label", "Save to:"), window.scan_entry)
    assert_tied(window.general.find("label", "OCR Path:"), window.ocr_entry)


def test_labels_of_the_network_page_are_tied_to_the_entry_and_the_list(open_network_page):
    window = open_network_page()
    assert_tied(window.network.find("label", "PC name:"), window.name_entry)
    assert_tied(window.network.find("label", HEADING), window.devices)


def test_search_dialog_without_a_title_is_told_by_its_label(lasting_search):
    _window, dialog = lasting_search
    label = dialog.find("label")
    assert dialog.name == ""
    assert_tied(label, dialog)
    assert_tied(label, dialog.find("progress bar"))


def test_cells_of_the_list_have_the_texts_of_a_scanner(open_network_page, start_scanners):
    start_scanners("[scanner Reception]\nmodel = T90\n")
    window = open_network_page()
    assert window.devices.titles() == ["Model Name", "Machine Name", "IP Address"]
    assert window.devices.rows() == [["Veltrana T90", "Reception", "10.77.0.101"]]


GERMAN = """\
[dlg101]
114=_Speichern in:
121=OCR-_Pfad:
123=_Durchsuchen...
124=Datei
[dlg102]
214=PC-_Name:
215=_Scanner
[dlg103]
311=_Suche...
"""


def test_names_are_those_of_the_language_without_its_underscores(open_german, start_scanners):
    window = open_german(GERMAN)
    assert window.scan_entry.name == "Speichern in:"
    assert window.ocr_entry.name == "OCR-Pfad:"
    assert window.ocr_browse.name == "Durchsuchen..."
    assert window.ocr_browse.description == "Datei"
    assert window.name_entry.name == "PC-Name:"
    assert window.devices.name == "Scanner"
    window.show_page(NETWORK)
    start_scanners(ENDLESS)
    assert window.begin_search().find("progress bar").name == "Suche..."


# --- where the Tab key goes ---------------------------------------------------------------------


def assert_in_reading_order(controls):
    """Each lies below the one before it, or to the right of it in the same row."""
    places = [control.place() for control in controls]
    for number, (before, after) in enumerate(zip(places, places[1:]), 1):
        below = after[1] >= before[1] + before[3]
        right = after[0] >= before[0] + before[2] and after[1] < before[1] + before[3]
        assert below or right, f"{controls[number]!r} is before {controls[number - 1]!r}"


def assert_walk(keyboard, expected):
    """Tab leads through these and round to the first, Shift+Tab the other way."""
    there = keyboard.walk("Tab")
    assert kinds(there) == [*expected[1:], expected[0]]
    # The page's own tab lies around the page as far as its place is concerned.
    assert_in_reading_order(there[:-1])
    back = keyboard.walk("shift+Tab")
    assert kinds(back) == expected[::-1]


def test_tab_key_goes_through_the_general_page_in_reading_order(open_window):
    window = open_window()
    window.ocr_entry.type_over("/bin/true")
    wait_until(lambda: window.apply.sensitive, "Apply to be enabled")
    expected = [
        ("page tab", "General"),
        ("text", "Save to:"),
        ("push button", "Browse..."),
        ("text", "OCR Path:"),
        ("push button", "Browse..."),
        *BUTTONS,
    ]
    assert_walk(keyboard_of(window), expected)


def test_tab_key_goes_through_the_network_page_in_reading_order(open_network_page, start_scanners):
    start_scanners(3)
    window = open_network_page()
    window.name_entry.type_over("desk")
    window.devices.select_row(1)
    wait_until(lambda: window.apply.sensitive and window.configure.sensitive, "all to be enabled")
    expected = [
        ("table", HEADING),
        ("push button", "Search"),
        ("push button", "Configure..."),
        *BUTTONS,
        ("page tab", "Network"),
        ("check box", LIST_UP),
        ("text", "PC name:"),
    ]
    keyboard = keyboard_of(window)
    keyboard.wait_for_focus(window.devices)
    there = keyboard.walk("Tab")
    assert kinds(there) == [*expected[1:], expected[0]]
    assert_in_reading_order(there[:5])
    assert_in_reading_order(there[6:])
    assert kinds(keyboard.walk("shift+Tab")) == expected[::-1]


def test_tab_key_passes_over_what_is_disabled(open_network_page):
    window = open_network_page()
    keyboard = keyboard_of(window)
    keyboard.go_to(window.list_up)
    keyboard.press("space")
    wait_until(lambda: not window.name_entry.sensitive, "the entry to be disabled")
    expected = [
        ("check box", LIST_UP),
        ("table", HEADING),
        ("push button", "Search"),
        *BUTTONS,
        ("page tab", "Network"),
    ]
    assert kinds(keyboard.walk("Tab")) == [*expected[1:], expected[0]]
    assert kinds(keyboard.walk("shift+Tab")) == expected[::-1]


def test_tab_key_begins_anew_behind_an_apply_that_is_done(open_window):
    window = open_window()
    window.ocr_entry.type_over("/bin/true")
    keyboard = keyboard_of(window)
    keyboard.go_to(window.apply)
    keyboard.press("space")
    wait_until(lambda: not window.apply.sensitive, "Apply to be done")
    assert kinds([keyboard.press_until_moved("Tab")]) == [("page tab", "General")]


# --- pages, check box, entries ------------------------------------------------------------------


def test_window_opens_with_the_keyboard_on_its_first_tab(open_window):
    window = open_window()
    assert kinds([keyboard_of(window).focus]) == [("page tab", "General")]


def wait_for_page(window, page):
    wait_until(lambda: window.page == page, f"page {page} in front")


def test_arrow_keys_on_the_tabs_switch_pages(open_window):
    window = open_window()
    keyboard = keyboard_of(window)
    keyboard.press("Right")
    wait_for_page(window, NETWORK)
    keyboard.press("Left")
    wait_for_page(window, GENERAL)


@pytest.mark.parametrize("further, back", [("Next", "Prior"), ("alt+Next", "alt+Prior")])
def test_control_page_keys_switch_pages_from_within_them(open_window, further, back):
    window = open_window()
    keyboard = keyboard_of(window)
    keyboard.go_to(window.ocr_entry)
    keyboard.press(f"ctrl+{further}")
    wait_for_page(window, NETWORK)
    keyboard.go_to(window.name_entry)
    keyboard.press(f"ctrl+{back}")
    wait_for_page(window, GENERAL)


def test_space_bar_clears_and_sets_the_check_box(open_network_page):
    window = open_network_page()
    keyboard = keyboard_of(window)
    keyboard.go_to(window.list_up)
    keyboard.press("space")
    wait_until(lambda: not window.list_up.checked, "a clear check box")
    assert not window.name_entry.sensitive
    assert window.apply.sensitive
    keyboard.press("space")
    wait_until(lambda: window.list_up.checked, "a set check box")
    assert window.name_entry.sensitive


def test_settings_can_be_changed_and_applied_without_a_mouse(open_window, tmp_path):
    window = open_window()
    keyboard = keyboard_of(window)
    keyboard.go_to(window.scan_entry)
    keyboard.press("ctrl+a")
    keyboard.type(str(tmp_path))
    wait_until(lambda: window.scan_entry.text == str(tmp_path), "the typed folder")
    keyboard.go_to(window.apply)
    keyboard.press("space")
    wait_until(lambda: not window.apply.sensitive, "Apply to be done")
    assert f'scanpath="{tmp_path}"\n' in program.settings_file().read_text()


def test_mnemonics_of_a_language_lead_to_what_they_label(open_german):
    window = open_german(GERMAN)
    keyboard = keyboard_of(window)
    keyboard.press("alt+p")
    keyboard.wait_for_focus(window.ocr_entry)
    keyboard.press("alt+s")
    keyboard.wait_for_focus(window.scan_entry)
    keyboard.press("ctrl+Next")
    wait_for_page(window, NETWORK)
    keyboard.press("alt+s")
    keyboard.wait_for_focus(window.devices)
    keyboard.press("alt+n")
    keyboard.wait_for_focus(window.name_entry)


@pytest.mark.parametrize("key, written", [("alt+o", True), ("alt+c", False)])
def test_ok_and_cancel_have_keys_of_their_own(open_window, key, written):
    window = open_window()
    keyboard_of(window).press(key)
    assert window.tool.wait_for_end() == 0
    assert program.settings_file().exists() == written


def test_apply_has_a_key_of_its_own(open_window):
    window = open_window()
    window.ocr_entry.type_over("/bin/true")
    wait_until(lambda: window.apply.sensitive, "Apply to be enabled")
    keyboard_of(window).press("alt+a")
    wait_until(lambda: not window.apply.sensitive, "Apply to be done")
    assert 'ocrpath="/bin/true"\n' in program.settings_file().read_text()


@pytest.mark.parametrize("key", ["Return", "Escape"])
def test_enter_and_escape_in_an_entry_do_nothing(open_window, key):
    window = open_window()
    window.ocr_entry.type_over("/bin/true")
    keyboard = keyboard_of(window)
    keyboard.go_to(window.ocr_entry)
    keyboard.press(key, "End", "x")
    wait_until(lambda: window.ocr_entry.text == "/bin/truex", "the key behind it")
    assert window.tool.process.poll() is None
    assert window.other_windows() == []
    assert window.apply.sensitive
    assert not program.settings_file().exists()


@pytest.mark.parametrize("button, written", [("ok", True), ("cancel", False)])
@pytest.mark.parametrize("key", ["Return", "space"])
def test_enter_and_space_press_the_button_that_has_the_focus(open_window, button, written, key):
    window = open_window()
    keyboard = keyboard_of(window)
    keyboard.go_to(getattr(window, button))
    keyboard.press(key)
    assert window.tool.wait_for_end() == 0
    assert program.settings_file().exists() == written


# --- the list of scanners -----------------------------------------------------------------------


def test_arrow_keys_choose_a_scanner_and_configure_opens_its_page(
    open_network_page, start_scanners, viewers
):
    start_scanners(3)
    viewers.add("xdg-open")
    window = open_network_page(wrapper=viewers.wrapper, environment=viewers.environment)
    addresses = [row[2] for row in window.devices.rows()]
    keyboard = keyboard_of(window)
    keyboard.go_to(window.devices)
    assert not window.configure.sensitive
    keyboard.press("Down", "Down")
    wait_for_selection(window, [1])
    keyboard.go_to(window.configure)
    keyboard.press("space")
    assert viewers.call() == ["xdg-open", f"http://{addresses[1]}"]


def selected_rows(window):
    table = window.devices.accessible.queryTable()
    return [row for row in range(table.nRows) if table.isRowSelected(row)]


def wait_for_selection(window, rows):
    wait_until(
        lambda: selected_rows(window) == rows,
        lambda: f"rows {rows} to be selected, not {selected_rows(window)}",
    )


def test_first_down_key_selects_the_first_scanner(open_network_page, start_scanners):
    start_scanners(3)
    window = open_network_page()
    keyboard = keyboard_of(window)
    keyboard.go_to(window.devices)
    assert selected_rows(window) == []
    for keys, row in ((["Down"], 0), (["Down"], 1), (["End"], 2), (["Home"], 0), (["Next"], 2)):
        keyboard.press(*keys)
        wait_for_selection(window, [row])
        assert window.configure.sensitive


@pytest.mark.parametrize("key", ["space", "Return"])
@pytest.mark.parametrize("scanners", [1, 3])
def test_list_that_was_reached_by_keyboard_selects_by(
    open_network_page, start_scanners, key, scanners
):
    start_scanners(scanners)
    window = open_network_page()
    keyboard = keyboard_of(window)
    keyboard.go_to(window.devices)
    keyboard.press(key)
    wait_for_selection(window, [0])
    wait_until(lambda: window.configure.sensitive, "Configure... to be enabled")
    keyboard.press_until_moved("Tab")
    keyboard.press_until_moved("Tab")
    keyboard.wait_for_focus(window.configure)


def test_control_space_takes_the_selection_away(open_network_page, start_scanners):
    start_scanners(1)
    window = open_network_page()
    keyboard = keyboard_of(window)
    keyboard.go_to(window.devices)
    keyboard.press("Down")
    wait_for_selection(window, [0])
    keyboard.press("ctrl+space")
    wait_for_selection(window, [])
    assert not window.configure.sensitive


def test_page_keys_with_control_stay_within_the_list(open_network_page, start_scanners):
    start_scanners(3)
    window = open_network_page()
    keyboard = keyboard_of(window)
    keyboard.go_to(window.devices)
    keyboard.press("ctrl+Prior", "Down")
    wait_for_selection(window, [0])
    assert window.page == NETWORK
    keyboard.press("ctrl+alt+Prior")
    wait_for_page(window, GENERAL)


def test_empty_list_does_not_hold_the_keyboard(open_network_page):
    window = open_network_page()
    keyboard = keyboard_of(window)
    keyboard.go_to(window.devices)
    keyboard.press("space", "Down", "Return")
    keyboard.go_to(window.search)
    assert not window.configure.sensitive


# --- dialogs ------------------------------------------------------------------------------------


@pytest.mark.parametrize("key", ["Return", "space"])
def test_search_dialog_is_cancelled_by(lasting_search, key):
    window, dialog = lasting_search
    keyboard = dialog_keyboard(window)
    assert kinds([keyboard.focus]) == [("push button", "Cancel")]
    # It is the only control, so the Tab key stays there.
    keyboard.press("Tab", "shift+Tab", "Tab")
    assert kinds([keyboard.focus]) == [("push button", "Cancel")]
    keyboard.press(key)
    window.wait_for_no_dialog(10)


def test_search_begins_and_ends_by_keyboard_and_gives_the_focus_back(
    open_network_page, start_scanners
):
    window = open_network_page()
    start_scanners(1)
    keyboard = keyboard_of(window)
    keyboard.go_to(window.search)
    keyboard.press("space")
    wait_until(lambda: len(window.devices.rows()) == 1, "the scanner in the list", 60)
    window.wait_for_no_dialog()
    keyboard.wait_for_focus(window.search)


@pytest.mark.parametrize("key", ["Return", "space", "Escape"])
def test_message_box_is_left_by(refused, key):
    keyboard = dialog_keyboard(refused, "alert")
    assert kinds([keyboard.focus]) == [("push button", "OK")]
    keyboard.press(key)
    refused.wait_for_no_dialog(10)
    # The keyboard is on the main window again, where something is to be put right.
    wait_until(lambda: focused_below(refused) is not None, "the focus on the main window")


def test_folder_is_chosen_by_keyboard(open_window, tmp_path):
    window = open_window()
    keyboard = keyboard_of(window)
    keyboard.go_to(window.scan_browse)
    keyboard.press("space")
    chooser = dialog_keyboard(window)
    # A slash opens the line for a path; Enter takes it.
    chooser.type(f"{tmp_path}/")
    path = window.wait_for_dialog().find("text")
    wait_until(lambda: path.text == f"{tmp_path}/", lambda: f"the path, not {path.text}")
    chooser.press("Return")
    window.wait_for_no_dialog(10)
    assert window.scan_entry.text == str(tmp_path)
    keyboard.wait_for_focus(window.scan_browse)
