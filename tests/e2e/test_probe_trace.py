"""dvx-probe --trace, and the Wireshark dissector of the registration protocol, read by tshark."""
import json
import pathlib
import re
import shutil
import struct
import subprocess

import probe
import pytest

from desktop_driver.waiting import wait_until
from desktop_driver.wire import Capture

TOP = pathlib.Path(__file__).resolve().parents[2]
DISSECTOR = TOP / "data" / "wireshark" / "veltrana_registration.lua"
# Of packets that were captured on the way out, the checksums are not yet filled in.
CHECKED = ("-o", "ip.check_checksum:TRUE", "-o", "udp.check_checksum:TRUE")
RAW_IPV4 = 101


def tshark(*words):
    done = subprocess.run(["tshark", *words], capture_output=True, text=True, check=False)
    assert done.returncode == 0 and "Lua" not in done.stderr, done.stderr
    return done.stdout


@pytest.fixture(scope="module", autouse=True)
def installed_dissector():
    """The dissector where the package puts it, in a folder of its own.

    From other places tshark loads nothing as root, which this is, since Wireshark 4.4.
    """
    folders = tshark("-G", "folders")
    plugins = re.search(r"^Global Lua Plugins:\s*(\S+)$", folders, re.MULTILINE)[1]
    subprocess.run(["mount", "-t", "tmpfs", "tmpfs", plugins], check=True)
    shutil.copy(DISSECTOR, plugins)
    yield
    subprocess.run(["umount", plugins], check=True)


def read(file, display_filter, *fields):
    """The packets that pass the filter: a tuple each, with the fields' values by commas."""
    wanted = [word for field in fields for word in ("-e", field)]
    output = tshark("-n", "-r", file, "-Y", display_filter, "-T", "fields", *wanted)
    return [tuple(line.split("\t")) for line in output.splitlines()]


def complaints(file):
    notes = "_ws.malformed || (_ws.expert && !udp.possible_traceroute)"
    fields = ("-T", "fields", "-e", "_ws.expert.message")
    output = tshark("-n", "-r", file, *CHECKED, "-Y", notes, *fields)
    return output.splitlines()


def test_trace_has_every_datagram(start_scanners, tmp_path):
    """It is what is on the wire, seen from the sockets."""
    start_scanners(3)
    file = tmp_path / "trace.pcap"
    with Capture() as capture:
        probe.results("list", "--trace", file)
        probe.results("register", "10.77.0.101", "--name", "desk", "--trace", tmp_path / "more")
        on_the_wire = capture.read(
            "udp", "ip.src", "udp.srcport", "ip.dst", "udp.dstport", "udp.payload"
        )
    fields = ("ip.src", "udp.srcport", "ip.dst", "udp.dstport", "udp.payload")
    traced = read(file, "udp", *fields) + read(tmp_path / "more", "udp", *fields)
    assert len(traced) == 1 + 3 + 3 * 4 * 2 + 2
    wire = [
        tuple(
            packet[field][0].replace(":", "") if field == "udp.payload" else packet[field][0]
            for field in fields
        )
        for packet in on_the_wire
    ]
    assert sorted(traced) == sorted(wire)
    assert complaints(file) == []
    assert complaints(tmp_path / "more") == []


def test_trace_of_what_was_sent_outlives_an_interruption(tmp_path):
    file = tmp_path / "trace.pcap"
    command = [probe.PROGRAM, "list", "--address", "10.77.0.9", "--trace", file]
    running = subprocess.Popen(command, stderr=subprocess.DEVNULL)
    header = 24
    wait_until(lambda: file.exists() and file.stat().st_size > header, "the question in the trace")
    assert running.poll() is None
    running.terminate()
    running.wait()
    assert read(file, "udp", "ip.dst") == [("10.77.0.9",)]


def test_trace_on_a_full_disk_ends_the_run(start_scanners):
    start_scanners(1)
    done = probe.run("list", "--trace", "/dev/full")
    assert done.returncode == 1
    assert done.stderr == "dvx-probe: --trace /dev/full: No space left on device\n"


FIELDS = (
    "udp.dstport",
    "veltrana_reg.signature",
    "veltrana_reg.version",
    "veltrana_reg.sequence",
    "veltrana_reg.category",
    "veltrana_reg.command",
    "veltrana_reg.length",
    "veltrana_reg.status",
    "veltrana_reg.reserved",
    "veltrana_reg.computer.address",
    "veltrana_reg.computer.name",
    "veltrana_reg.computer.mac",
    "veltrana_reg.computer.fixed",
)


def test_dissector_names_every_field(start_scanners, tmp_path):
    start_scanners("[scanner One]\nreply_codes = D4 C4\n")
    file = tmp_path / "packets.pcap"
    with Capture() as capture:
        probe.results("register", "10.77.0.101", "--name", "front-desk")
        probe.results("unregister", "10.77.0.101")
        capture.save(file)
    packets = read(file, "veltrana_reg", *FIELDS)
    computer = ("10.77.0.10", "front-desk", "02:56:44:56:58:10", "0x0001")
    host = ("10.77.0.10", "lab-desk", "02:56:44:56:58:10", "0x0001")
    numbers = [packet[3] for packet in packets]
    assert numbers[0] == numbers[1] and numbers[2] == numbers[3]
    seen = [(*packet[1:3], *packet[4:]) for packet in packets]
    begin = ("MFPP", "0200ML01", "0x31")
    assert seen == [
        (*begin, "0x03", "28", "0x00", "0x0000", *computer),
        (*begin, "0xd4", "0", "0x00", "0x0000", "", "", "", ""),
        (*begin, "0x03", "28", "0x00", "0x0000", *computer),
        (*begin, "0xc4", "0", "0x00", "0x0000", "", "", "", ""),
        (*begin, "0x05", "28", "0x00", "0x0000", *host),
    ]
    infos = read(file, "veltrana_reg", "_ws.col.Protocol", "_ws.col.Info")
    texts = ("register", "not now", "register", "accepted", "unregister")
    assert infos == [("VELTRANA-REG", text) for text in texts]
    # Being put off is worth a note; nothing is wrong.
    notes = "The scanner puts the registration off"
    assert read(file, "_ws.expert", "_ws.expert.message") == [(notes,)]


def test_dissector_reads_the_sequence_low_byte_first(tmp_path):
    assert dissected(tmp_path, packet())[0]["veltrana_reg.sequence"] == ["0xa5ce"]


COMPUTER = "0A4D000A 66726F6E742D6465736B000000000000 025644565810 0001"


def packet(
    signature="4D465050",
    version="303230304D4C3031",
    sequence="CEA5",
    category="31",
    command="03",
    length="1C",
    status="00",
    reserved="0000",
    data=COMPUTER,
):
    words = signature + version + sequence + category + command + length + status + reserved + data
    return bytes.fromhex(words)


def record(payload, source, ports):
    """A packet that no checksum protects, as it stands in a file."""
    udp = struct.pack(">HHHH", *ports, 8 + len(payload), 0) + payload
    addresses = b"".join(bytes(map(int, text.split("."))) for text in (source, "10.77.0.101"))
    ip = struct.pack(">BBHHHBBH", 0x45, 0, 20 + len(udp), 0, 0, 64, 17, 0) + addresses + udp
    return struct.pack("<IIII", 0, 0, len(ip), len(ip)) + ip


def dissected(tmp_path, *payloads, source="10.77.0.10", ports=(40000, 3892)):
    """The fields of each packet, with the lists of their values."""
    file = tmp_path / "packets.pcap"
    header = struct.pack("<IHHiIII", 0xA1B2C3D4, 2, 4, 0, 0, 65535, RAW_IPV4)
    file.write_bytes(header + b"".join(record(data, source, ports) for data in payloads))
    wanted = [word for field in (*FIELDS, "_ws.expert.message") for word in ("-e", field)]
    output = tshark("-n", "-r", file, "-T", "json", *wanted)
    return [item["_source"]["layers"] for item in json.loads(output)]


WRONG = {
    "signature": (packet(signature="4D465051"), 'The signature is not "MFPP"'),
    "version": (packet(version="303230304D4C3032"), 'The version is not "0200ML01"'),
    "category": (packet(category="32"), "The category is not 0x31"),
    "command": (packet(command="07"), "The command is not known"),
    "direction": (packet(command="C4", length="00", data=""), "A scanner's code that goes to a"),
    "status": (packet(status="01"), "The status of a command is not 0"),
    "reserved": (packet(reserved="0100"), "The two bytes are not 0"),
    "long length": (packet(length="1D"), "There is less data than the length says"),
    "short record": (packet(length="1B", data=COMPUTER[:-2]), "is not the 28 bytes of a computer"),
    "bytes behind": (packet(data=COMPUTER + "00"), "There are bytes behind the data"),
    "header": (packet(data="")[:19], "The packet ends within its header"),
    "name": (
        packet(data="0A4D000A" + "61" * 16 + "0256445658100001"),
        "The name is not filled up with zeros",
    ),
    "name with a rest": (
        packet(data="0A4D000A" + "6100" * 8 + "0256445658100001"),
        "The name is not filled up with zeros",
    ),
    "fixed": (packet(data=COMPUTER[:-4] + "0100"), "The last two bytes of a computer are not 00"),
    "address": (
        packet(data="0A4D000B" + COMPUTER[8:]),
        "The computer says that it has another address than the packet comes from",
    ),
}


def test_dissector_marks_wrong_packets(tmp_path):
    packets = [payload for payload, _message in WRONG.values()]
    for layers, (case, (_payload, message)) in zip(dissected(tmp_path, *packets), WRONG.items()):
        # Each of them has this one mistake, except for those that follow from it.
        texts = layers["_ws.expert.message"]
        assert any(message in text for text in texts), (case, texts)
        assert len(texts) == (2 if case == "long length" else 1), (case, texts)


def test_dissector_survives_every_truncation(tmp_path):
    cut = [packet()[:size] for size in range(1, 48)]
    for size, layers in enumerate(dissected(tmp_path, *cut), 1):
        messages = " ".join(layers["_ws.expert.message"])
        expected = "ends within its header" if size < 20 else "less data than the length says"
        assert expected in messages and "Lua" not in messages, (size, messages)


def test_dissector_finds_nothing_wrong_in_right_packets(tmp_path):
    assert "_ws.expert.message" not in dissected(tmp_path, packet())[0]
    reply = packet(command="55", length="02", data="0102")
    layers = dissected(tmp_path, reply, source="10.77.0.102", ports=(3892, 40000))
    assert "_ws.expert.message" not in layers[0]
