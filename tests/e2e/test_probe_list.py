"""dvx-probe list: the scanners as a table, JSON and CSV, from where one asks for."""
import csv
import io
import json

import failing
import probe
import pytest

from desktop_driver.xwindows import run

SEVERAL = """
[scanner One]
model = T55_E
[scanner Two]
name = Drawing "A", 2nd floor
model = F220_U
delay.discovery = 200
[scanner Three]
silent.mac = yes
delay.discovery = 400
"""

TABLE = """\
MODEL          NAME                    ADDRESS      HARDWARE ADDRESS
Veltrana T55   One                     10.77.0.101  02:56:53:00:00:65
Veltrana F220  Drawing "A", 2nd floor  10.77.0.102  02:56:53:00:00:66
Veltrana T55   Three                   10.77.0.103  -
"""


def found(*arguments, **keywords):
    return json.loads(probe.results("list", "--json", *arguments, **keywords))


def names(*arguments, **keywords):
    return [scanner["name"] for scanner in found(*arguments, **keywords)["scanners"]]


def test_table(start_scanners):
    start_scanners(SEVERAL)
    assert probe.results("list") == TABLE


def test_json(start_scanners):
    start_scanners(SEVERAL)
    assert found() == {
        "scanners": [
            {
                "model": "Veltrana T55",
                "name": "One",
                "address": "10.77.0.101",
                "hardware_address": "02:56:53:00:00:65",
            },
            {
                "model": "Veltrana F220",
                "name": 'Drawing "A", 2nd floor',
                "address": "10.77.0.102",
                "hardware_address": "02:56:53:00:00:66",
            },
            {
                "model": "Veltrana T55",
                "name": "Three",
                "address": "10.77.0.103",
                "hardware_address": None,
            },
        ],
        "left_out": [],
    }


def test_csv(start_scanners):
    start_scanners(SEVERAL)
    rows = list(csv.reader(io.StringIO(probe.results("list", "--csv"))))
    assert rows == [
        ["model", "name", "address", "hardware_address"],
        ["Veltrana T55", "One", "10.77.0.101", "02:56:53:00:00:65"],
        ["Veltrana F220", 'Drawing "A", 2nd floor', "10.77.0.102", "02:56:53:00:00:66"],
        ["Veltrana T55", "Three", "10.77.0.103", ""],
    ]


def test_hundred_scanners(start_scanners):
    start_scanners(100)
    scanners = found()["scanners"]
    addresses = [scanner["address"] for scanner in scanners]
    assert addresses == [f"10.77.0.{number}" for number in range(101, 201)]
    assert all(scanner["hardware_address"] for scanner in scanners)
    assert len({scanner["name"] for scanner in scanners}) == 100


def test_nobody_is_there():
    errors = "dvx-probe: no scanner was found (dvx-probe explain says why)\n"
    assert probe.results("list", status=1, errors=errors) == ""
    assert found(status=1, errors=errors) == {"scanners": [], "left_out": []}
    header = "model,name,address,hardware_address\n"
    assert probe.results("list", "--csv", status=1, errors=errors) == header


LEFT_OUT = """
[scanner Whole]
[scanner Nameless]
silent.name = yes
[scanner Modelless]
error_status.model = 2
[scanner Long]
vendor = xxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxx
length_form.vendor = minimal
"""
REASONS = {
    "10.77.0.102": "it does not answer when asked for its name",
    "10.77.0.103": "it answers with the error status 2 when asked for its model",
    "10.77.0.104": "it answers with something that cannot be read when asked for its vendor",
}


def test_devices_without_all_three_texts_are_left_out(start_scanners):
    start_scanners(LEFT_OUT)
    errors = "".join(
        f"dvx-probe: {address} is left out: {why}\n" for address, why in REASONS.items()
    )
    listed = found(errors=errors)
    assert [scanner["name"] for scanner in listed["scanners"]] == ["Whole"]
    assert {item["address"]: item["reason"] for item in listed["left_out"]} == REASONS


def test_texts_cannot_change_the_terminal(start_scanners):
    """They are shown as texts, whatever is in them."""
    start_scanners("[scanner Wild]\nobject.1.3.6.1.2.1.1.5.0 = hex:1B5B334AC3BC41FF22\n")
    assert (
        '?[3J\N{LATIN SMALL LETTER U WITH DIAERESIS}A\N{REPLACEMENT CHARACTER}"'
        in probe.results("list")
    )
    expected = '\x1b[3J\N{LATIN SMALL LETTER U WITH DIAERESIS}A\N{REPLACEMENT CHARACTER}"'
    assert names() == [expected]


def test_a_scanner_that_answers_twice_is_one_scanner(start_scanners):
    start_scanners("[scanner Twin]\ncopies.discovery = 3\n")
    assert names() == ["Twin"]


def test_given_addresses_are_asked_and_nobody_else(start_scanners):
    peers = start_scanners(4)
    assert names("--address", "10.77.0.103,10.77.0.101") == ["Mail-Room", "Reception"]
    assert {entry["to"] for entry in peers.log(direction="received")} == {
        "10.77.0.103:161",
        "10.77.0.101:161",
    }


def test_a_given_address_that_is_silent(start_scanners):
    start_scanners(1)
    errors = "dvx-probe: 10.77.0.77 does not answer\n"
    assert names("--address", "10.77.0.77", "--address=10.77.0.101", status=1, errors=errors) == [
        "Reception"
    ]


def test_a_given_address_that_is_left_out(start_scanners):
    start_scanners("[scanner Whole]\n[scanner Nameless]\nsilent.name = yes\n")
    errors = "dvx-probe: 10.77.0.102 is left out: it does not answer when asked for its name\n"
    given = "10.77.0.101,10.77.0.102"
    assert names("--address", given, status=1, errors=errors) == ["Whole"]


def test_a_given_address_without_a_scanner():
    errors = "dvx-probe: 10.77.0.77 does not answer (Connection refused)\n"
    errors += "dvx-probe: no scanner was found (dvx-probe explain says why)\n"
    assert names("--address", "10.77.0.77", status=1, errors=errors) == []


def test_a_given_address_with_an_unreadable_answer(start_scanners):
    start_scanners("[scanner Odd]\nfixed_answer.discovery = 48 54 54 50\n")
    errors = "dvx-probe: 10.77.0.101 answers with something that cannot be read\n"
    errors += "dvx-probe: no scanner was found (dvx-probe explain says why)\n"
    assert names("--address", "10.77.0.101", status=1, errors=errors) == []


def test_a_scanner_in_another_network_is_found_by_its_address(start_scanners):
    """The office is this computer's router."""
    route = ["lab-office", "ip", "route", "add", "local", "192.0.2.0/24", "dev", "lan0"]
    run(*route)
    try:
        start_scanners("[scanner Far]\naddress = 192.0.2.20\n")
        assert names("--address", "192.0.2.20") == ["Far"]
    finally:
        run(*(word if word != "add" else "del" for word in route))


SECOND_NETWORK = """
ip link add eth1 address 02:56:44:56:58:11 type veth peer name back1 netns /tmp/.lab/office
ip address add 10.88.0.10/24 broadcast + dev eth1
ip link set eth1 up
lab-office sh -ec "ip address add 10.88.0.1/24 dev back1; ip link set back1 up
  ip route add local 10.88.0.64/26 dev back1"
"""


@pytest.fixture
def second_network():
    """A second interface, with scanners' addresses behind it."""
    run("sh", "-ec", SECOND_NETWORK)
    yield
    run("ip", "link", "del", "eth1")


def test_each_interface(start_scanners, second_network):
    peers = start_scanners("[scanner Near]\n[scanner Back]\naddress = 10.88.0.70\n")
    assert sorted(names("--each-interface")) == ["Back", "Near"]
    broadcasts = {entry["to"] for entry in peers.asked("discovery")}
    assert {"10.77.255.255:161", "10.88.0.255:161"} == broadcasts


def test_one_interface(start_scanners, second_network):
    peers = start_scanners("[scanner Near]\n[scanner Back]\naddress = 10.88.0.70\n")
    assert "Back" in names("--interface", "eth1")
    assert {entry["to"] for entry in peers.asked("discovery")} == {"10.88.0.255:161"}


def test_waiting_longer(start_scanners):
    start_scanners("[scanner Quick]\n[scanner Late]\ndelay.discovery = 1800\n")
    assert names() == ["Quick"]
    assert names("--wait", "2.5") == ["Quick", "Late"]


@pytest.mark.parametrize(
    "script, problem",
    [
        ("ip route del default", "Network is unreachable"),
        ("ip route replace unreachable default", "No route to host"),
    ],
)
def test_a_broadcast_that_cannot_be_sent(script, problem):
    setup = "ip link add eth0 type veth peer name far0; ip address add 10.9.0.1/24 dev eth0\n"
    setup += "ip link set eth0 up; ip route add default dev eth0\n"
    errors = (
        f"dvx-probe: cannot ask 255.255.255.255: {problem}\n"
        "dvx-probe: no scanner was found (dvx-probe explain says why)\n"
    )
    wrapper = failing.network(setup + script)
    assert probe.results("list", status=1, errors=errors, wrapper=wrapper) == ""
