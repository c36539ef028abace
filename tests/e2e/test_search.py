"""Searching for scanners again: how long it takes, and the list after it."""
import time

from desktop_driver.waiting import wait_until

# A survey of this scanner takes long enough to do something meanwhile.
SLOW = "[scanner Slow]\ndelay.model = 1500\n"
# What a busy machine may add: the tests with a clock of their own know how long a wait is.
SLACK_SECONDS = 8.0


def test_finds_scanners_that_came_later(open_network_page, start_scanners):
    window = open_network_page()
    assert window.devices.rows() == []
    start_scanners(2)
    window.run_search()
    assert sorted(window.devices.rows()) == [
        ["Veltrana T35", "Accounting", "10.77.0.102"],
        ["Veltrana T55", "Reception", "10.77.0.101"],
    ]


def test_replaces_the_list(open_network_page, start_scanners):
    peers = start_scanners("[scanner Old]\n")
    window = open_network_page()
    assert window.scanner_names() == ["Old"]
    peers.stop()
    start_scanners("[scanner New]\naddress = 10.77.0.150\n")
    window.run_search()
    assert window.devices.rows() == [["Veltrana T55", "New", "10.77.0.150"]]


def test_that_finds_nothing_empties_the_list(open_network_page, start_scanners):
    peers = start_scanners(2)
    window = open_network_page()
    assert len(window.devices.rows()) == 2
    peers.stop()
    window.run_search()
    assert window.devices.rows() == []
    # Nothing is left of the old devices that a second search could trip over.
    window.run_search()
    assert window.devices.rows() == []


def test_ends_one_second_after_the_survey(open_network_page, start_scanners):
    peers = start_scanners(1)
    window = open_network_page()
    window.run_search()
    pause = time.time() - peers.log(direction="sent")[-1]["time"]
    assert 1.0 <= pause < 1.0 + SLACK_SECONDS


def test_without_scanners_takes_the_time_of_the_wait_and_the_pause(open_network_page):
    window = open_network_page()
    begin = time.monotonic()
    window.run_search()
    assert 2.0 <= time.monotonic() - begin < 2.0 + SLACK_SECONDS


def test_cancel_ends_it_at_once_and_keeps_the_list(open_network_page, start_scanners):
    first = start_scanners("[scanner Old]\n")
    window = open_network_page()
    first.stop()
    # All of them would take half a minute.
    new = "".join(f"[scanner New-{number}]\n" for number in range(10))
    second = start_scanners(f"silent.model = yes\n{new}")
    dialog = window.begin_search()
    wait_until(lambda: second.asked("model"), "the question about the model")
    dialog.find("push button", "Cancel").press()
    window.wait_for_no_dialog()
    assert len(second.asked("model")) < 10
    assert window.scanner_names() == ["Old"]


def test_cancel_ends_the_survey(open_network_page, start_scanners):
    window = open_network_page()
    peers = start_scanners("[scanner New]\ndelay.model = 2000\n")
    dialog = window.begin_search()
    wait_until(lambda: peers.asked("model"), "the question about the model")
    dialog.find("push button", "Cancel").press()
    window.wait_for_no_dialog()
    window.run_search()
    assert window.scanner_names() == ["New"]
    # Only the second search got as far as the second question.
    assert [len(peers.asked(question)) for question in ("model", "vendor")] == [2, 1]


def test_works_again_after_a_cancelled_one(open_network_page, start_scanners):
    window = open_network_page()
    start_scanners(SLOW)
    for _ in range(3):
        window.begin_search().find("push button", "Cancel").press()
        window.wait_for_no_dialog()
        assert window.devices.rows() == []
    window.run_search()
    assert window.scanner_names() == ["Slow"]


def test_selecting_a_row_enables_configure(open_network_page, start_scanners):
    start_scanners(3)
    window = open_network_page()
    assert not window.configure.sensitive
    window.devices.select_row(1)
    wait_until(lambda: window.configure.sensitive, "Configure... to be enabled")


def test_disables_configure_again(open_network_page, start_scanners):
    start_scanners(3)
    window = open_network_page()
    window.devices.select_row(2)
    wait_until(lambda: window.configure.sensitive, "Configure... to be enabled")
    window.run_search()
    assert not window.configure.sensitive
    window.devices.select_row(0)
    wait_until(lambda: window.configure.sensitive, "Configure... to be enabled again")


def test_cancelled_keeps_configure_enabled(open_network_page, start_scanners):
    start_scanners(SLOW)
    window = open_network_page()
    window.devices.select_row(0)
    wait_until(lambda: window.configure.sensitive, "Configure... to be enabled")
    window.begin_search().find("push button", "Cancel").press()
    window.wait_for_no_dialog()
    assert window.scanner_names() == ["Slow"]
    assert window.configure.sensitive


def test_does_not_mark_the_settings_modified(open_network_page, start_scanners):
    window = open_network_page()
    start_scanners(1)
    window.run_search()
    assert window.scanner_names() == ["Reception"]
    assert not window.apply.sensitive
