"""What the program asks and what an honest scanner answers, as bytes on the wire.

SNMP version 1 (RFC 1157) with every length in one byte, which is the form that the program reads,
and the packets of the registration channel.
"""
import struct
from typing import NamedTuple

SNMP_PORT = 161
COMMAND_PORT = 3892

# What is asked for, by the object identifier in the request.
QUESTIONS = {
    bytes.fromhex("2B06010401855B831501010103"): "discovery",  # 1.3.6.1.4.1.731.405.1.1.1.3
    bytes.fromhex("2B06010401855B0102010200"): "model",  # 1.3.6.1.4.1.731.1.2.1.2.0
    bytes.fromhex("2B06010401855B0102010100"): "vendor",  # 1.3.6.1.4.1.731.1.2.1.1.0
    bytes.fromhex("2B06010201010500"): "name",  # 1.3.6.1.2.1.1.5.0
}
OIDS = {question: oid for oid, question in QUESTIONS.items()}
SUCCESSOR = bytes.fromhex("2B06010401855B83150101010400")  # what a scanner has behind discovery's

COMMANDS = {3: "register", 5: "unregister"}
DONE, NOT_NOW = 0xC4, 0xD4


class Question(NamedTuple):
    """A datagram of the program: what it asks, and what an answer has to repeat of it."""

    kind: str  # "discovery", "model", "vendor", "name", "register" or "unregister"
    mark: bytes  # the request id in 4 bytes, or the sequence number in 2
    data: bytes


def element(tag, contents):
    assert len(contents) < 128, "the program does not read longer lengths"
    return bytes([tag, len(contents)]) + contents


def read_request(data):
    """The question in an SNMP request of the program, None for anything else."""
    asked = [oid for oid in QUESTIONS if data.endswith(element(6, oid) + b"\x05\x00")]
    if len(asked) != 1:
        return None
    # 30 82 xx xx, the version, the community "public", then the PDU's header.
    size = data[18]
    mark = data[19 : 19 + size].rjust(4, b"\x00")
    return Question(QUESTIONS[asked[0]], mark, data)


def read_command(data):
    """The command in a packet of the registration channel, None for anything else."""
    if len(data) != 48 or data[:12] != b"MFPP0200ML01" or data[15] not in COMMANDS:
        return None
    return Question(COMMANDS[data[15]], data[12:14], data)


def answer(mark, oid, value, error_status=0):
    """A whole answer with one variable: object identifier and value element."""
    binding = element(0x30, element(6, oid) + value)
    status = bytes([2, 1, error_status])
    fields = element(2, mark) + status + b"\x02\x01\x00" + element(0x30, binding)
    return element(0x30, b"\x02\x01\x00" + element(4, b"public") + element(0xA2, fields))


def discovery_answer(question, number=1):
    return answer(question.mark, SUCCESSOR, bytes([2, 1, number]))


def text_answer(question, text, error_status=0):
    """The answer to a question about a text."""
    return answer(question.mark, OIDS[question.kind], element(4, text), error_status)


def reply(question, code=DONE, data=b"", length=None, sequence=None):
    """A scanner's reply to a command, with a false length or sequence if asked for."""
    count = len(data) if length is None else length
    mark = question.mark if sequence is None else sequence
    return b"MFPP0200ML01" + mark + struct.pack("BBBBxx", 0x31, code, count, 0) + data
