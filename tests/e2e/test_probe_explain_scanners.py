"""dvx-probe explain about scanners that are there, but not as they should be."""
import signal
import subprocess
import time

import probe
import pytest

from desktop_driver.waiting import wait_until


@pytest.fixture
def stage(tmp_path, monkeypatch):
    with probe.Stage(tmp_path) as made:
        monkeypatch.setenv("PATH", made.path)
        yield made


def words(text):
    return " ".join(text.split())


def test_no_scanners_at_all(stage):
    explained = stage.explain()
    assert explained.ids == ["no-scanners"]
    assert "in another network than 10.77.0.0/16" in words(explained.text)
    assert "root only" not in explained.text
    assert explained.commands("no-scanners") == [
        "dvx-probe explain --address ADDRESS-OF-THE-SCANNER"
    ]


def test_devices_of_other_makers_are_no_scanners(stage, start_scanners):
    """They have none of the objects, and say so."""
    other = "[scanner Printer]\nerror_status = 2\n"
    start_scanners(other)
    assert stage.explain().ids == ["no-scanners"]


@pytest.mark.parametrize(
    "question, others",
    [("name", ("model", "vendor")), ("vendor", ("model", "name")), ("model", ("vendor", "name"))],
)
def test_one_silent_object(stage, start_scanners, question, others):
    start_scanners(f"[scanner Whole]\n[scanner Part]\nsilent.{question} = yes\n")
    explained = stage.explain()
    assert explained.ids == ["silent-object"]
    text = words(explained.found["silent-object"])
    assert f"Asked for its {question}, it does not answer." in text
    for other in others:
        assert f'Asked for its {other}, it answers "' in text
    assert explained.commands("silent-object") == [
        "xdg-open http://10.77.0.102",
        "dvx-probe list --address 10.77.0.102",
    ]
    assert "Whole" in explained.text.partition("What was found")[0]


def test_an_object_that_is_missing(stage, start_scanners):
    start_scanners("[scanner Part]\nerror_status.vendor = 5\n")
    explained = stage.explain()
    assert explained.ids == ["silent-object"]
    text = words(explained.found["silent-object"])
    assert "Asked for its vendor, it answers with the error status 5." in text


def test_scanner_that_falls_silent(stage, start_scanners):
    silent = "".join(f"silent.{question} = yes\n" for question in ("model", "vendor", "name"))
    start_scanners("[scanner Gone]\n" + silent)
    explained = stage.explain()
    assert explained.ids == ["silent-scanner"]
    assert "10.77.0.101 answers the search and then nothing more" in words(explained.text)


UNREADABLE = {
    "answer_version.discovery = 1": "it is of SNMP version 2c; the program understands version 1",
    "length_form.discovery = message:long1": "the length of the message is written in the long"
    " form (81)",
    "length_form.discovery = value:long2": "the length of the value is written in the long form",
    "fixed_answer.discovery = ": "the datagram is empty",
    "fixed_answer.discovery = 48 54 54 50": "it is no SNMP message: it begins with 48 in place of"
    " 30",
    "cut.discovery = 20": "the message claims 49 bytes, but only 18 are there",
    "set_byte.discovery = 29:31": "the variable begins with 31 in place of 30",
    "set_byte.discovery = 31:04": "the name of the variable begins with 04 in place of 06",
    "set_byte.discovery = 1:7E": "the message claims 126 bytes, but only 49 are there",
    "set_byte.discovery = 47:80": "its contents make no sense",
}


@pytest.mark.parametrize("key", UNREADABLE)
def test_answers_that_do_not_decode(stage, start_scanners, key):
    start_scanners(f"[scanner Odd]\n{key}\n")
    explained = stage.explain()
    assert explained.ids == ["unreadable"], explained.text
    text = explained.found["unreadable"]
    assert "10.77.0.101 answers the search with something unreadable" in words(text)
    assert UNREADABLE[key] in words(text)
    assert explained.commands("unreadable") == [
        "dvx-probe list --address 10.77.0.101 --trace answer.pcap"
    ]


def test_what_does_not_decode_is_shown(stage, start_scanners):
    start_scanners(
        "[scanner Odd]\nfixed_answer.discovery = 48 54 54 50 2F 31 2E 31 20 34 30 30 0D 0A"
        " 43 6F 6E\n"
    )
    dump = (
        "      0000  48 54 54 50 2F 31 2E 31 20 34 30 30 0D 0A 43 6F  HTTP/1.1.400..Co\n"
        "      0010  6E                                               n\n"
    )
    assert dump in stage.explain().text


def test_a_name_that_is_too_long_to_be_read(stage, start_scanners):
    start_scanners(f"[scanner Long]\nname = {'x' * 120}\nlength_form.name = minimal\n")
    explained = stage.explain()
    assert explained.ids == ["unreadable"]
    text = words(explained.found["unreadable"])
    assert "something unreadable when asked for its name" in text
    assert "at most 86 characters" in text
    assert explained.commands("unreadable") == ["xdg-open http://10.77.0.101"]


def test_scanner_that_answers_too_late(stage, start_scanners):
    start_scanners("[scanner Quick]\n[scanner Late]\ndelay.discovery = 1700\n")
    explained = stage.explain("--wait", "2.5")
    assert explained.ids == ["late"]
    assert "These took longer: 10.77.0.102." in words(explained.text)
    listed = explained.text.partition("What was found")[0]
    assert "Quick" in listed and "Late" not in listed
    command = explained.commands("late")[0]
    assert command == "dvx-probe register --all --wait 3"
    assert "10.77.0.102      registered" in stage.desk(command)


def test_answer_that_waits_for_a_busy_computer_is_not_late(stage, start_scanners):
    """What counts is when it came in, not when it was looked at."""
    peers = start_scanners("[scanner One]\ndelay.discovery = 400\n")
    stage.settle()
    command = [*stage.on_desk, probe.PROGRAM, "explain", "--wait", "1.2"]
    running = subprocess.Popen(command, stdout=subprocess.PIPE, text=True)
    wait_until(lambda: peers.asked("discovery"), "the search")
    running.send_signal(signal.SIGSTOP)
    wait_until(lambda: peers.log(direction="sent"), "the answer")
    time.sleep(1.5)
    running.send_signal(signal.SIGCONT)
    text, _errors = running.communicate(timeout=120)
    assert list(probe.findings(text)) == ["all-well"], text


def test_scanner_that_answers_twice(stage, start_scanners):
    start_scanners("[scanner Twin]\ncopies.discovery = 2\n")
    explained = stage.explain()
    assert explained.ids == ["twice"]
    assert "255.255.255.255: 2 answers from 1 address." in explained.text


def test_scanner_that_only_answers_direct_questions(stage, start_scanners):
    """The first question that it gets is the one to everybody."""
    start_scanners("[scanner Deaf]\nignore_first.discovery = 1\n")
    explained = stage.explain("--address", "10.77.0.101")
    assert explained.ids == ["deaf-to-broadcast"]
    assert explained.commands("deaf-to-broadcast") == ["dvx-probe register 10.77.0.101"]


GIVEN = {
    "10.77.0.5": "No device has this address now",
    "10.77.0.77": "There is a device, but it does not take SNMP questions",
    "198.51.100.1": "This computer has no route to that network.",
}


def test_given_addresses_that_do_not_answer(stage):
    """An ordinary one takes its time: the kernel asks three times for its hardware address."""
    stage.desk("ip route replace 255.255.255.255/32 dev eth0; ip route del default")
    explained = stage.explain("--wait", "5", "--address", ",".join(GIVEN))
    found = explained.text.partition("What was found")[2]
    for address, why in GIVEN.items():
        assert f"{address} does not answer [silent-address]" in found
        assert why in words(found)


def test_address_that_scanners_cannot_use(stage, start_scanners):
    """The first interface leads elsewhere, and its address is the one that is registered."""
    first = """
ip link del eth0
ip link add first type veth peer name far
ip address add 172.16.5.5/24 dev first
"""
    stage.desk(first)
    stage.connect()
    start_scanners("[scanner One]\n")
    explained = stage.explain()
    assert explained.ids == ["wrong-address"]
    text = words(explained.found["wrong-address"])
    assert "first interface, 172.16.5.5. The scanner 10.77.0.101 knows it as 10.77.0.10" in text
    assert explained.commands("wrong-address") == ["sudo ip address del 172.16.5.5/24 dev first"]
    stage.desk(explained.commands("wrong-address")[0])
    assert stage.explain().ids == ["all-well"]
