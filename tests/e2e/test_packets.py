"""What the program puts on the wire, recorded on its interface and read by tshark."""
import re

import pytest

from desktop_driver.main_window import GENERAL, NETWORK
from desktop_driver.waiting import wait_until
from desktop_driver.wire import Capture

DESK = "10.77.0.10"
FROM_DESK = "eth.src == 02:56:44:56:58:10"

# The objects that are asked for, as tshark names them.
SCANNERS = "1.3.6.1.4.1.731.405.1.1.1.3"
MODEL = "1.3.6.1.4.1.731.1.2.1.2.0"
VENDOR = "1.3.6.1.4.1.731.1.2.1.1.0"
NAME = "1.3.6.1.2.1.1.5.0"
SURVEY_OF_TWO = [
    ("255.255.255.255", "get-next-request", SCANNERS),
    ("10.77.0.101", "get-request", MODEL),
    ("10.77.0.101", "get-request", VENDOR),
    ("10.77.0.101", "get-request", NAME),
    ("10.77.0.102", "get-request", MODEL),
    ("10.77.0.102", "get-request", VENDOR),
    ("10.77.0.102", "get-request", NAME),
]
# The second one answers the search after the first.
TWO = "[scanner One]\n[scanner Two]\ndelay.discovery = 300\n"

# The requests with "ID" for their request id. The first ones of a run have ids of four bytes.
SEARCH_BYTES = """
    30 82 00 30  02 01 00  04 06 70 75 62 6C 69 63
    A1 23  02 04 ID  02 01 00  02 01 00
    30 15  30 82 00 11  06 0D 2B 06 01 04 01 85 5B 83 15 01 01 01 03  05 00
"""
MODEL_BYTES = """
    30 82 00 2F  02 01 00  04 06 70 75 62 6C 69 63
    A0 22  02 04 ID  02 01 00  02 01 00
    30 14  30 82 00 10  06 0C 2B 06 01 04 01 85 5B 01 02 01 02 00  05 00
"""
VENDOR_BYTES = """
    30 82 00 2F  02 01 00  04 06 70 75 62 6C 69 63
    A0 22  02 04 ID  02 01 00  02 01 00
    30 14  30 82 00 10  06 0C 2B 06 01 04 01 85 5B 01 02 01 01 00  05 00
"""
NAME_BYTES = """
    30 82 00 2B  02 01 00  04 06 70 75 62 6C 69 63
    A0 1E  02 04 ID  02 01 00  02 01 00
    30 10  30 82 00 0C  06 08 2B 06 01 02 01 01 05 00  05 00
"""
# The commands with "SQ" for their sequence number; the name is "front-desk".
REGISTER_BYTES = """
    4D 46 50 50 30 32 30 30 4D 4C 30 31  SQ  31 03 1C 00 00 00
    0A 4D 00 0A  66 72 6F 6E 74 2D 64 65 73 6B 00 00 00 00 00 00  02 56 44 56 58 10  00 01
"""
UNREGISTER_BYTES = """
    4D 46 50 50 30 32 30 30 4D 4C 30 31  SQ  31 05 1C 00 00 00
    0A 4D 00 0A  66 72 6F 6E 74 2D 64 65 73 6B 00 00 00 00 00 00  02 56 44 56 58 10  00 01
"""


@pytest.fixture
def capture():
    with Capture() as running:
        yield running


def pattern(words):
    digits = "".join(words.split()).lower()
    return digits.replace("id", "[0-9a-f]{8}").replace("sq", "[0-9a-f]{4}")


def payloads(capture, display_filter):
    packets = capture.read(f"{FROM_DESK} && {display_filter}", "udp.payload")
    return [packet["udp.payload"][0].replace(":", "") for packet in packets]


def use_everything(open_network_page, start_scanners):
    """A session with a survey, a search, a registration and its removal."""
    peers = start_scanners(TWO)
    window = open_network_page()
    window.run_search()
    window.name_entry.type_over("front-desk")
    window.wait_for_apply()
    window.list_up.press()
    window.wait_for_apply()
    wait_until(lambda: len(peers.asked("unregister")) == 2, "the removal")
    window.cancel.press()
    assert window.tool.wait_for_end() == 0


def test_packets_are_the_expected_ones_and_no_more(capture, open_network_page, start_scanners):
    use_everything(open_network_page, start_scanners)
    sent = capture.read(
        FROM_DESK, "frame.protocols", "ip.src", "ip.dst", "udp.dstport", "snmp.name"
    )
    others = [packet for packet in sent if packet["frame.protocols"] != ["eth:ethertype:arp"]]
    assert all(packet["ip.src"] == [DESK] for packet in others), others
    seen = [(p["ip.dst"][0], p["udp.dstport"][0], "".join(p["snmp.name"])) for p in others]
    survey = [(address, "161", name) for address, _kind, name in SURVEY_OF_TWO]
    commands = [("10.77.0.101", "3892", ""), ("10.77.0.102", "3892", "")]
    assert seen == survey + survey + commands + commands


def test_tshark_finds_nothing_wrong(capture, open_network_page, start_scanners):
    use_everything(open_network_page, start_scanners)
    # It suspects a traceroute behind some of the ports that the system gives to sockets.
    notes = "(_ws.expert && !udp.possible_traceroute)"
    wrong = f"{FROM_DESK} && (_ws.malformed || {notes} || icmp || tcp || ipv6)"
    assert capture.read(wrong, "frame.number", "_ws.expert.message", "frame.protocols") == []
    assert len(capture.read(f"{FROM_DESK} && snmp", "frame.number")) == 14


def test_requests_as_tshark_reads_them(capture, open_network_page, start_scanners):
    start_scanners(TWO)
    open_network_page()
    packets = capture.read(
        f"{FROM_DESK} && udp",
        "ip.dst",
        "snmp.version",
        "snmp.community",
        "snmp.data",
        "snmp.error_status",
        "snmp.error_index",
        "snmp.variable_bindings",
        "snmp.name",
        "snmp.value.null",
    )
    # How tshark shows a NULL differs between its versions; there is one in each request.
    nulls = [len(packet.pop("snmp.value.null")) for packet in packets]
    assert nulls == [1] * 7
    tags = {"get-request": "0", "get-next-request": "1"}
    assert packets == [
        {
            "ip.dst": [address],
            "snmp.version": ["0"],
            "snmp.community": ["public"],
            "snmp.data": [tags[kind]],
            "snmp.error_status": ["0"],
            "snmp.error_index": ["0"],
            "snmp.variable_bindings": ["1"],
            "snmp.name": [name],
        }
        for address, kind, name in SURVEY_OF_TWO
    ]


def test_bytes_of_the_requests(capture, open_network_page, start_scanners):
    start_scanners(1)
    open_network_page()
    sent = payloads(capture, "udp")
    expected = [SEARCH_BYTES, MODEL_BYTES, VENDOR_BYTES, NAME_BYTES]
    assert len(sent) == len(expected), sent
    for payload, words in zip(sent, expected):
        assert re.fullmatch(pattern(words), payload), payload


def test_bytes_of_the_commands(capture, open_network_page, start_scanners):
    use_everything(open_network_page, start_scanners)
    sent = payloads(capture, "udp.dstport == 3892")
    expected = [REGISTER_BYTES] * 2 + [UNREGISTER_BYTES] * 2
    assert len(sent) == len(expected), sent
    for payload, words in zip(sent, expected):
        assert re.fullmatch(pattern(words), payload), payload


def test_request_ids_differ(capture, open_network_page, start_scanners):
    start_scanners(TWO)
    open_network_page()
    packets = capture.read(f"{FROM_DESK} && snmp", "snmp.request_id")
    ids = [packet["snmp.request_id"][0] for packet in packets]
    assert len(set(ids)) == 7, ids


def test_search_is_one_broadcast(capture, open_network_page):
    """Without scanners nothing else is sent, nor is it repeated."""
    window = open_network_page()
    window.name_entry.type_over("nobody-listens")
    window.wait_for_apply()
    # The system itself goes on asking for neighbours of before.
    packets = capture.read(f"{FROM_DESK} && !arp", "eth.dst", "ip.dst", "udp.dstport")
    assert packets == [
        {
            "eth.dst": ["ff:ff:ff:ff:ff:ff"],
            "ip.dst": ["255.255.255.255"],
            "udp.dstport": ["161"],
        }
    ]


def test_nothing_is_sent_after_the_survey_unless_asked(capture, open_window, start_scanners):
    start_scanners(1)
    window = open_window()
    window.show_page(NETWORK)
    window.devices.select_row(0)
    wait_until(lambda: window.configure.sensitive, "Configure... to be enabled")
    window.list_up.press()
    window.name_entry.type_over("someone")
    window.show_page(GENERAL)
    window.cancel.press()
    assert window.tool.wait_for_end() == 0
    assert len(payloads(capture, "udp")) == 4
