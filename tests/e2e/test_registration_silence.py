"""Registering while a scanner says nothing at all."""
import time

from desktop_driver.waiting import wait_until


def test_silent_scanner_is_tried_three_times_and_does_not_keep_others_out(
    open_network_page, start_scanners
):
    peers = start_scanners("[scanner Silent]\nreply_codes = silence\n[scanner Ready]\n")
    window = open_network_page()
    window.name_entry.type_over("front-desk")
    begin = time.monotonic()
    window.wait_for_apply()
    duration = time.monotonic() - begin
    silent = [entry["hex"] for entry in peers.asked("register", "Silent")]
    assert len(silent) == 3
    assert len(set(silent)) == 1
    # Three waits and no more, on however busy a machine.
    assert 9.0 <= duration < 20.0
    (listed,) = peers.lists()["10.77.0.102"]
    assert listed["name"] == "front-desk"
    # The user is not told.
    assert window.other_windows() == []


def test_late_reply_within_three_seconds_counts(open_network_page, start_scanners):
    peers = start_scanners("[scanner Slow]\ndelay.register = 2000\n")
    window = open_network_page()
    window.name_entry.type_over("front-desk")
    window.wait_for_apply()
    assert len(peers.asked("register")) == 1
    (listed,) = peers.lists()["10.77.0.101"]
    assert listed["name"] == "front-desk"


def test_unregistering_does_not_wait_for_replies(open_network_page, start_scanners):
    peers = start_scanners("reply_codes = silence\n[scanner One]\n[scanner Two]\n[scanner Three]\n")
    window = open_network_page()
    window.list_up.press()
    begin = time.monotonic()
    window.wait_for_apply()
    # A wait for the three would take 27 seconds.
    assert time.monotonic() - begin < 20.0
    wait_until(lambda: len(peers.asked("unregister")) >= 3, "the commands")
    assert len(peers.asked("unregister")) == 3
