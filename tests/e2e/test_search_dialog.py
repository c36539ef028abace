"""The dialog that is shown while the program searches for scanners."""
import pytest

from desktop_driver.waiting import wait_until
from desktop_driver.xwindows import ManagedWindow

LABEL = "Searching online devices..."
# A survey of this scanner takes long enough to do something meanwhile.
SLOW = "[scanner Slow]\ndelay.model = 2500\n"
# A survey of these does not end while somebody looks at the dialog, on a busy machine either.
ENDLESS = "".join(f"[scanner {number}]\ndelay.model = 2900\n" for number in range(20))


@pytest.fixture
def lasting_search(open_network_page, start_scanners):
    """The main window and the dialog of a search that goes on until the program is ended."""
    window = open_network_page()
    start_scanners(ENDLESS)
    return window, window.begin_search()


def test_dialog_shows_a_label_an_empty_bar_and_cancel(lasting_search):
    _window, dialog = lasting_search
    assert [label.name for label in dialog.all("label")] == [LABEL]
    assert [button.name for button in dialog.all("push button")] == ["Cancel"]
    (bar,) = dialog.all("progress bar")
    assert bar.value == 0
    label, button = dialog.find("label"), dialog.find("push button")
    tops = [control.place()[1] for control in (label, bar, button)]
    assert tops == sorted(tops) and len(set(tops)) == 3, tops


def test_bar_is_still_empty_when_the_search_ends(open_network_page, start_scanners):
    peers = start_scanners("[scanner Slow]\ndelay.name = 2500\n")
    window = open_network_page()
    bar = window.begin_search().find("progress bar")
    # The last answer and the pause behind the survey are what remains of the search.
    wait_until(lambda: len(peers.asked("name")) == 2, "the last question")
    assert bar.value == 0
    window.wait_for_no_dialog()


def test_dialog_is_modal_without_title_or_close_button_and_of_fixed_size(lasting_search):
    window, dialog = lasting_search
    assert dialog.modal
    assert dialog.name == ""
    managed = ManagedWindow.dialog_of(window.tool)
    assert managed.title == ""
    assert {"MODAL", "SKIP_TASKBAR"} <= managed.states
    assert not managed.has_close_button
    wait_until(lambda: "RESIZE" not in managed.allowed_actions, "a window of fixed size")
    assert managed.owner == int(ManagedWindow.main_of(window.tool).number, 16)


def test_dialog_opens_over_the_middle_of_the_main_window(lasting_search):
    window, _dialog = lasting_search
    main, managed = ManagedWindow.main_of(window.tool), ManagedWindow.dialog_of(window.tool)
    for side in (0, 1):
        middle = managed.position[side] + managed.size[side] / 2
        assert abs(middle - main.position[side] - main.size[side] / 2) <= 30, "not centred"


def test_escape_does_not_end_it(open_network_page, start_scanners):
    window = open_network_page()
    start_scanners(SLOW)
    window.begin_search()
    ManagedWindow.dialog_of(window.tool).press_keys("Escape", "Escape")
    window.wait_for_no_dialog()
    # A cancelled search would have left the list as it was.
    assert window.scanner_names() == ["Slow"]


def test_close_by_a_window_manager_that_heeds_no_hint_cancels(open_network_page, start_scanners):
    window = open_network_page()
    start_scanners(SLOW)
    window.begin_search()
    ManagedWindow.dialog_of(window.tool).close()
    window.wait_for_no_dialog()
    assert window.devices.rows() == []
    window.run_search()
    assert window.scanner_names() == ["Slow"]


def test_main_window_is_shut_out_meanwhile(open_network_page, start_scanners):
    window = open_network_page()
    start_scanners(SLOW)
    window.begin_search()
    ManagedWindow.main_of(window.tool).close()
    window.wait_for_no_dialog()
    assert window.scanner_names() == ["Slow"]
    assert window.tool.process.poll() is None
