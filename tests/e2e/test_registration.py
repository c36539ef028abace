"""This computer on the lists of the scanners, as the scanners see it."""
import re

from desktop_driver.waiting import wait_until
from desktop_driver.xwindows import ManagedWindow

NAME = "front-desk"
LISTED = {"name": NAME, "address": "10.77.0.10", "mac": "02:56:44:56:58:10"}

SIGNATURE = "4D46505030323030 4D4C3031"
SEQUENCE = "...."
REGISTER, UNREGISTER = "31 03 1C 00 0000", "31 05 1C 00 0000"
ADDRESS, MAC, END = "0A4D000A", "025644565810", "0001"
FRONT_DESK = "66726F6E742D6465736B 000000000000"


def pattern(command, name):
    """The packet as a pattern of hexadecimal digits, open only in its sequence number."""
    words = (SIGNATURE, SEQUENCE, command, ADDRESS, name, MAC, END)
    return "".join(words).replace(" ", "").lower()


def packets(peers, question, scanner=None):
    return [entry["hex"] for entry in peers.asked(question, scanner)]


def told(peers):
    """Which commands reached which scanner, in order."""
    received = peers.log(direction="received", protocol="registration")
    return [(entry["scanner"], entry["understood"]["meaning"]) for entry in received]


def apply_name(window, name=NAME):
    window.name_entry.type_over(name)
    window.wait_for_apply()


def test_apply_registers_on_every_listed_scanner(open_network_page, start_scanners):
    peers = start_scanners(6)
    apply_name(open_network_page())
    assert peers.lists() == {f"10.77.0.{host}": [LISTED] for host in range(101, 107)}
    assert len(peers.asked("register")) == 6


def test_register_packet(open_network_page, start_scanners):
    peers = start_scanners(1)
    apply_name(open_network_page())
    (packet,) = packets(peers, "register")
    assert len(packet) == 2 * 48
    assert re.fullmatch(pattern(REGISTER, FRONT_DESK), packet), packet


def test_register_packet_with_a_name_of_15_characters(open_network_page, start_scanners):
    peers = start_scanners(1)
    apply_name(open_network_page(), "abcdefghijKLMNO")
    (packet,) = packets(peers, "register")
    name = "6162636465666768696A4B4C4D4E4F 00"
    assert re.fullmatch(pattern(REGISTER, name), packet), packet


def test_register_packet_with_a_name_of_one_character(open_network_page, start_scanners):
    peers = start_scanners(1)
    apply_name(open_network_page(), "x")
    (packet,) = packets(peers, "register")
    assert re.fullmatch(pattern(REGISTER, "78" + "00" * 15), packet), packet


def test_empty_name_registers_the_host_name(open_network_page, start_scanners):
    peers = start_scanners(1)
    window = open_network_page()
    apply_name(window, "")
    assert peers.lists() == {"10.77.0.101": [{**LISTED, "name": "lab-desk"}]}
    assert window.name_entry.text == ""


def test_scanners_are_told_in_the_order_of_the_list(open_network_page, start_scanners):
    peers = start_scanners(
        """
        [scanner C]
        delay.discovery = 600
        [scanner B]
        delay.discovery = 300
        [scanner A]
        """
    )
    window = open_network_page()
    assert window.scanner_names() == ["A", "B", "C"]
    apply_name(window)
    assert told(peers) == [("A", "register"), ("B", "register"), ("C", "register")]


def test_scanner_listed_twice_is_told_twice(open_network_page, start_scanners):
    peers = start_scanners("[scanner Twice]\ncopies.discovery = 2\n")
    apply_name(open_network_page())
    assert told(peers) == [("Twice", "register")] * 2
    assert peers.lists() == {"10.77.0.101": [LISTED]}


def test_only_listed_scanners_are_told(open_network_page, start_scanners):
    peers = start_scanners("[scanner Early]\n[scanner Late]\nignore_first.discovery = 1\n")
    window = open_network_page()
    apply_name(window)
    assert peers.lists() == {"10.77.0.101": [LISTED], "10.77.0.102": []}
    window.run_search()
    apply_name(window, "second")
    second = {**LISTED, "name": "second"}
    assert peers.lists()["10.77.0.102"] == [second]


def test_busy_scanner_is_asked_up_to_three_times(open_network_page, start_scanners):
    peers = start_scanners("[scanner Busy]\nreply_codes = D4 D4 C4\n[scanner Ready]\n")
    apply_name(open_network_page())
    assert peers.lists() == {"10.77.0.101": [LISTED], "10.77.0.102": [LISTED]}
    busy = packets(peers, "register", "Busy")
    assert len(busy) == 3
    assert all(re.fullmatch(pattern(REGISTER, FRONT_DESK), packet) for packet in busy), busy
    assert len(packets(peers, "register", "Ready")) == 1


def test_always_busy_scanner_is_given_up_after_three_times(open_network_page, start_scanners):
    peers = start_scanners("[scanner Busy]\nreply_codes = D4\n[scanner Ready]\n")
    window = open_network_page()
    apply_name(window)
    assert peers.lists() == {"10.77.0.101": [], "10.77.0.102": [LISTED]}
    assert len(packets(peers, "register", "Busy")) == 3
    assert window.other_windows() == []


def test_refusing_scanner_is_asked_once(open_network_page, start_scanners):
    peers = start_scanners("[scanner Refusing]\nreply_codes = 7F\n[scanner Ready]\n")
    window = open_network_page()
    apply_name(window)
    assert peers.lists() == {"10.77.0.101": [], "10.77.0.102": [LISTED]}
    assert len(packets(peers, "register", "Refusing")) == 1
    assert window.other_windows() == []


def test_reply_of_another_sequence_costs_an_attempt(open_network_page, start_scanners):
    peers = start_scanners("[scanner Once]\nwrong_sequence = 1\n")
    apply_name(open_network_page())
    first, second = packets(peers, "register")
    assert first == second
    assert peers.lists() == {"10.77.0.101": [LISTED]}


def test_replies_of_another_sequence_end_after_three_attempts(open_network_page, start_scanners):
    peers = start_scanners("[scanner Wrong]\nwrong_sequence = yes\n[scanner Right]\n")
    apply_name(open_network_page())
    wrong = packets(peers, "register", "Wrong")
    assert len(wrong) == 3
    assert len(set(wrong)) == 1
    assert len(packets(peers, "register", "Right")) == 1


def test_every_attempt_comes_from_a_port_of_its_own(open_network_page, start_scanners):
    peers = start_scanners("[scanner Wrong]\nwrong_sequence = yes\n")
    apply_name(open_network_page())
    ports = {entry["from"] for entry in peers.asked("register")}
    assert len(ports) >= 2, ports


ODD_REPLIES = [
    "reply_data_size = 255",
    "reply_length = 255",
    "reply_length = 28",
    "reply_status = FF",
    "reply_category = 00",
    "reply_signature = XXXXXXXXXXXX",
    "cut.register = 16",
    "append.register = 00 01 02 03",
    "pad_to.register = 1536",
    "pad_to.register = 9000",
    "answer_from.register = 10.77.0.200",
]


def test_odd_replies_that_say_done_are_taken(open_network_page, start_scanners):
    groups = [f"[scanner {key}]\n{key}\n" for key in ODD_REPLIES]
    peers = start_scanners("".join(groups))
    apply_name(open_network_page())
    assert sorted(told(peers)) == sorted((key, "register") for key in ODD_REPLIES)


def test_reply_that_is_cut_before_its_sequence_is_none(open_network_page, start_scanners):
    peers = start_scanners("[scanner Cut]\ncut.register = 12\n[scanner Usual]\n")
    apply_name(open_network_page())
    assert len(packets(peers, "register", "Cut")) == 3
    assert len(packets(peers, "register", "Usual")) == 1


def test_clear_box_unregisters_everywhere(open_network_page, start_scanners):
    peers = start_scanners(3)
    window = open_network_page()
    apply_name(window)
    assert all(peers.lists().values())
    window.list_up.press()
    window.wait_for_apply()
    wait_until(lambda: not any(peers.lists().values()), "all lists to be empty")
    assert [meaning for _scanner, meaning in told(peers)] == ["register"] * 3 + ["unregister"] * 3


def test_unregister_packet(open_network_page, start_scanners):
    peers = start_scanners(1)
    window = open_network_page()
    window.name_entry.type_over(NAME)
    window.list_up.press()
    window.wait_for_apply()
    wait_until(lambda: peers.asked("unregister"), "the command")
    (packet,) = packets(peers, "unregister")
    assert len(packet) == 2 * 48
    assert re.fullmatch(pattern(UNREGISTER, FRONT_DESK), packet), packet
    assert peers.asked("register") == []


def test_box_checked_again_registers_again(open_network_page, start_scanners):
    peers = start_scanners(1)
    window = open_network_page()
    for name in (NAME, "again"):
        window.list_up.press()
        window.wait_for_apply()
        wait_until(lambda: not any(peers.lists().values()), "the list to be empty")
        window.list_up.press()
        apply_name(window, name)
        assert peers.lists() == {"10.77.0.101": [{**LISTED, "name": name}]}


def test_ok_registers_even_without_a_change(open_network_page, start_scanners):
    peers = start_scanners(2)
    window = open_network_page()
    assert not window.apply.sensitive
    window.ok.press()
    assert window.tool.wait_for_end() == 0
    desk = {**LISTED, "name": "lab-desk"}
    assert peers.lists() == {"10.77.0.101": [desk], "10.77.0.102": [desk]}


def test_ok_with_the_box_clear_unregisters(open_network_page, start_scanners):
    known = "10.77.0.10 02:56:44:56:58:10 lab-desk"
    peers = start_scanners(f"[scanner Knows-Us]\nregistered = {known}\n")
    assert len(peers.lists()["10.77.0.101"]) == 1
    window = open_network_page()
    window.list_up.press()
    window.ok.press()
    assert window.tool.wait_for_end() == 0
    wait_until(lambda: peers.lists() == {"10.77.0.101": []}, "an empty list")


def test_cancel_tells_nobody(open_network_page, start_scanners):
    peers = start_scanners(2)
    window = open_network_page()
    window.name_entry.type_over(NAME)
    window.list_up.press()
    window.cancel.press()
    assert window.tool.wait_for_end() == 0
    assert told(peers) == []


def test_closing_the_window_tells_nobody(open_network_page, start_scanners):
    peers = start_scanners(2)
    window = open_network_page()
    window.name_entry.type_over(NAME)
    ManagedWindow.main_of(window.tool).close()
    assert window.tool.wait_for_end() == 0
    assert told(peers) == []
