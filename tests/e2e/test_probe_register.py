"""dvx-probe register and unregister: what scanners are told, and what is told of them."""
import pathlib

import probe
import pytest

from desktop_driver import xwindows

MANUAL = pathlib.Path(__file__).resolve().parents[2] / "docs" / "dvx-probe.md"
DESK = {"address": "10.77.0.10", "mac": "02:56:44:56:58:10"}
HUNDRED = [f"10.77.0.{number}" for number in range(101, 201)]


def registered(name):
    return [{"name": name, **DESK}]


def lines(text):
    """The results by address."""
    return dict(line.split(maxsplit=1) for line in text.splitlines())


def test_all_of_a_hundred_scanners(start_scanners):
    peers = start_scanners(100)
    output = probe.results("register", "--all", "--name", "front-desk")
    assert lines(output) == {address: 'registered as "front-desk"' for address in HUNDRED}
    assert peers.lists() == {address: registered("front-desk") for address in HUNDRED}
    output = probe.results("unregister", "--all")
    assert lines(output) == {address: "told to forget this computer" for address in HUNDRED}
    assert peers.lists() == {address: [] for address in HUNDRED}


def test_given_scanners_only(start_scanners):
    peers = start_scanners(3)
    output = probe.results("register", "10.77.0.103", "10.77.0.101")
    assert output == (
        '10.77.0.103      registered as "lab-desk"\n10.77.0.101      registered as "lab-desk"\n'
    )
    lists = peers.lists()
    assert lists["10.77.0.101"] == lists["10.77.0.103"] == registered("lab-desk")
    assert lists["10.77.0.102"] == []
    assert peers.log(protocol="snmp") == []


UNWILLING = """
[scanner Patient]
reply_codes = D4 D4 C4
[scanner Busy]
reply_codes = D4
[scanner Refuses]
reply_codes = 55
[scanner Silent]
silent.register = yes
[scanner Confused]
wrong_sequence = yes
[scanner Drowsy]
ignore_first.register = 2
[scanner Fades]
reply_codes = D4 silence
"""
ANSWERS = {
    "10.77.0.101": 'registered as "desk"',
    "10.77.0.102": "not now, three times; try again later",
    "10.77.0.103": "refused with the code 55",
    "10.77.0.104": "no reply",
    "10.77.0.105": "no reply (only replies to other commands)",
    "10.77.0.106": 'registered as "desk"',
    "10.77.0.107": "no reply",
}
# Nine seconds of silence, however many scanners there are.
PACKETS = {
    "Patient": 3,
    "Busy": 3,
    "Refuses": 1,
    "Silent": 3,
    "Confused": 3,
    "Drowsy": 3,
    "Fades": 4,
}


def test_what_came_back_is_told_for_each_scanner(start_scanners):
    peers = start_scanners(UNWILLING)
    output = probe.results("register", "--name", "desk", *ANSWERS, status=1)
    assert lines(output) == ANSWERS
    assert {name: len(peers.asked("register", name)) for name in PACKETS} == PACKETS
    told = {address for address, computers in peers.lists().items() if computers}
    assert told == {"10.77.0.101", "10.77.0.105", "10.77.0.106"}


def test_the_sample_of_the_manual(start_scanners):
    """The commands that it shows are run, and show what it shows."""
    sample = MANUAL.read_text().partition("## Register")[2].split("\n\n")[1]
    command, *expected, echo, status = (line[4:] for line in sample.splitlines())
    assert (command, echo) == ("$ dvx-probe register --all --name front-desk", "$ echo $?")
    start_scanners("[scanner Reception]\n[scanner Accounting]\nreply_codes = D4\n")
    output = probe.results(*command.split()[2:], status=int(status))
    assert output.splitlines() == expected


def test_nobody_listens_there():
    """The office refuses it by ICMP."""
    output = probe.results("register", "10.77.0.101", status=1)
    assert lines(output) == {"10.77.0.101": "no reply (Connection refused)"}


@pytest.mark.parametrize("command", ["register", "unregister"])
def test_there_is_no_way_to_the_scanner(command):
    xwindows.run("ip", "route", "add", "unreachable", "203.0.113.1/32")
    output = probe.results(command, "203.0.113.1", status=1)
    xwindows.run("ip", "route", "del", "unreachable", "203.0.113.1/32")
    assert lines(output) == {"203.0.113.1": "cannot be reached (No route to host)"}


def test_all_without_any_scanner():
    errors = "dvx-probe: no scanner was found (dvx-probe explain says why)\n"
    for command in ("register", "unregister"):
        assert probe.results(command, "--all", status=1, errors=errors) == ""


OBJECTS = """
[scanner Agrees]
unregister_code = C4
[scanner Later]
unregister_code = D4
[scanner Objects]
unregister_code = 55
delay.unregister = 600
"""


def test_a_scanner_that_objects_to_being_left(start_scanners):
    start_scanners(OBJECTS)
    output = probe.results("unregister", "10.77.0.101", "10.77.0.102", "10.77.0.103", status=1)
    assert lines(output) == {
        "10.77.0.101": "told to forget this computer",
        "10.77.0.102": "not now; try again later",
        "10.77.0.103": "refused with the code 55",
    }


def test_unregistering_where_nobody_listens():
    output = probe.results("unregister", "10.77.0.101", status=1)
    assert lines(output) == {"10.77.0.101": "no reply (Connection refused)"}


NAMES = {
    "front-desk": ("front-desk", ""),
    "Büro": (
        "Linux-PC",
        'dvx-probe: --name Büro: scanners cannot show this; the name is "Linux-PC"\n',
    ),
    "a b": ("ab", 'dvx-probe: --name a b: scanners cannot show this; the name is "ab"\n'),
    "???": (
        "lab-desk",
        'dvx-probe: --name ???: scanners cannot show this; the name is "lab-desk"\n',
    ),
    "fifteen-letters": ("fifteen-letters", ""),
    "sixteen-letters!": (
        "sixteen-letters",
        'dvx-probe: scanners show the first 15 characters of the name: "sixteen-letters"\n',
    ),
}


@pytest.mark.parametrize("name", NAMES)
def test_names_are_made_fit_as_in_the_window(start_scanners, name):
    shown, note = NAMES[name]
    peers = start_scanners(1)
    output = probe.results("register", "10.77.0.101", f"--name={name}", errors=note)
    assert lines(output) == {"10.77.0.101": f'registered as "{shown}"'}
    assert peers.lists() == {"10.77.0.101": registered(shown)}


def test_scanners_that_are_left_out_make_it_no_failure(start_scanners):
    """They are not in the program's list either."""
    peers = start_scanners("[scanner Whole]\n[scanner Nameless]\nsilent.name = yes\n")
    why = "dvx-probe: 10.77.0.102 is left out: it does not answer when asked for its name\n"
    output = probe.results("register", "--all", errors=why)
    assert lines(output) == {"10.77.0.101": 'registered as "lab-desk"'}
    assert [len(computers) for computers in peers.lists().values()] == [1, 0]
