"""What the program has to make of datagrams, whoever sent them and whatever is in them.

Written from the rules of the protocol and of the client, for comparison with what the program does.
Texts are bytes here, until they are shown.
"""
import sys
from typing import NamedTuple

MOST_BYTES = 1536  # what is taken of a datagram
MOST_ANSWERS = 256  # that a survey looks at
MOST_TEXT = 256

INTEGER, STRING, OBJECT_ID, SEQUENCE, ADDRESS = 0x02, 0x04, 0x06, 0x30, 0x40
NUMBERS = (0x41, 0x42, 0x43)
TRAP = 0xA4
COMMUNITY_ROOM, OID_ROOM, NAME_ROOM = 128, 128, 256


class Refused(Exception):
    """This is no answer."""


class Element(NamedTuple):
    """The header of an element and where its contents lie."""

    tag: int
    begin: int
    end: int


class Answer(NamedTuple):
    error_status: int
    variables: list  # of name (list of numbers) and value (bytes)


class Reader:
    """Steps through a message. `room` is what is left of the element that is read."""

    def __init__(self, data):
        self._data = data[:MOST_BYTES]
        self.at = 0
        self.room = len(self._data)

    def byte(self, index):
        """Behind the datagram there is nothing but zeros."""
        return self._data[index] if index < len(self._data) else 0

    def bytes(self, element):
        return self._data[element.begin : element.end]

    def header(self):
        """Type and length of the element here, which has to fit into the room."""
        if self.room < 2:
            raise Refused("no header")
        first = self.byte(self.at + 1)
        count = first - 0x80 if first >= 0x80 else 0
        if first == 0x80 or count > 8:
            raise Refused("form of the length")
        length = first
        if count:
            # One to four bytes come to nothing. Of five and more, the last four do not count.
            length = 0
            for index in range(count - 4):
                length = length << 8 | self.byte(self.at + 2 + index)
        begin = self.at + 2 + count
        if begin - self.at + length > self.room:
            raise Refused("longer than the room")
        return Element(self.byte(self.at), begin, begin + length)

    def enter(self):
        """Goes into the element here: from now on the room is that of its contents."""
        element = self.header()
        if element.tag & 0x1F == 0x1F:
            raise Refused("large tag number")
        self.at, self.room = element.begin, element.end - element.begin
        return element

    def skip(self, element, to=None):
        """Goes behind an element; the room gets less by all of it."""
        self.room -= element.end - self.at
        self.at = element.end if to is None else to

    def integer(self):
        element = self.header()
        size = element.end - element.begin
        if size > 8:
            raise Refused("number of more than 64 bits")
        value = self.shift_in(element, -1)
        self.skip(element)
        return value

    def shift_in(self, element, negative):
        """The sign is that of the byte behind the header, also when there are no contents."""
        value = negative if self.byte(element.begin) & 0x80 else 0
        for byte in self.bytes(element):
            value = value << 8 | byte
        return (value + 2**63) % 2**64 - 2**63

    def object_id(self):
        """The tag and the numbers of an object identifier."""
        element = self.header()
        numbers, at = [], element.begin
        while at < element.end and len(numbers) < OID_ROOM - 1:
            number = 0
            while True:
                if at == element.end:
                    raise Refused("unfinished number")
                byte = self.byte(at)
                at += 1
                number = number << 7 | byte & 0x7F
                if number > 0xFFFFFFFF:
                    raise Refused("number of more than 32 bits")
                if not byte & 0x80:
                    break
            numbers.append(number)
        self.skip(element, to=at)
        if not numbers:
            return element.tag, [0]
        return element.tag, [*divmod(numbers[0], 40), *numbers[1:]]

    def value(self):
        """The value of a variable, and steps behind it."""
        here, room = self.at, self.room
        element = self.enter()
        end = element.end
        size = end - element.begin
        self.at, self.room = here, end - here
        value = self.decoded(element, size)
        self.at, self.room = end, room
        return value

    def decoded(self, element, size):
        order = sys.byteorder
        if element.tag in (STRING, ADDRESS):
            return self.bytes(element)
        if element.tag == INTEGER:
            value = self.shift_in(element, -1) if size <= 8 else 0
            return value.to_bytes(8, order, signed=True)
        if element.tag in NUMBERS:
            fits = size <= 8 or (size == 9 and self.byte(element.begin) == 0)
            value = self.shift_in(element, 0xFFFFFFFF) if fits else 0
            return (value % 2**64).to_bytes(8, order)
        if element.tag == OBJECT_ID:
            try:
                _tag, numbers = self.object_id()
            except Refused:
                numbers = []
            return b"".join(number.to_bytes(8, order) for number in numbers)
        return bytes(size)


def read_answer(data):
    """The answer in a datagram; raises Refused when there is none."""
    reader = Reader(data)
    if reader.enter().tag != SEQUENCE:
        raise Refused("no message")
    version = reader.integer()
    community = reader.header()
    if community.end - community.begin > COMMUNITY_ROOM:
        raise Refused("long community")
    reader.skip(community)
    if version != 0:
        raise Refused("version")
    error_status = 0
    if reader.enter().tag == TRAP:
        skip_trap_fields(reader)
    else:
        reader.integer()
        error_status = reader.integer() % 2**32
        reader.integer()
    if reader.enter().tag != SEQUENCE:
        raise Refused("no list")
    variables = []
    while reader.room > 0:
        variables.append(read_variable(reader))
    return Answer(error_status, variables)


def skip_trap_fields(reader):
    reader.object_id()
    agent = reader.header()
    if agent.end - agent.begin > 4:
        raise Refused("agent address")
    reader.skip(agent)
    reader.integer()
    reader.integer()
    stamp = reader.header()
    size = stamp.end - stamp.begin
    if size > 9 or (size == 9 and reader.byte(stamp.begin) != 0):
        raise Refused("time stamp")
    reader.skip(stamp)


def read_variable(reader):
    """A name and its value. The next variable begins behind the value, whatever the header says."""
    begin, room = reader.at, reader.room
    if reader.enter().tag != SEQUENCE:
        raise Refused("no binding")
    tag, name = reader.object_id()
    if tag != OBJECT_ID:
        raise Refused("no name")
    value = reader.value()
    reader.room = room - (reader.at - begin)
    return name, value


def first_value(data):
    """Error status and value of the first variable of the answer in a datagram.

    The value is empty when there is no variable. Raises Refused when there is no answer.
    """
    answer = read_answer(data)
    if not answer.variables:
        return answer.error_status, b""
    name, value = answer.variables[0]
    if len(value) >= MOST_BYTES or len(".".join(map(str, name))) >= NAME_ROOM:
        raise Refused("too long for its record")
    return answer.error_status, value


def is_device(data):
    """Whether what answered the search is asked for its texts. Errors do not matter there."""
    try:
        first_value(data)
    except Refused:
        return False
    return True


def text(data):
    """The text in the answer to a question, None when it is no answer or an error."""
    try:
        error_status, value = first_value(data)
    except Refused:
        return None
    if error_status != 0 or len(value) > MOST_TEXT:
        return None
    # What does not print goes from the end; then the text ends at its first zero.
    while value and not 0x21 <= value[-1] <= 0x7E:
        value = value[:-1]
    return value.partition(b"\0")[0]


def without_suffixes(model):
    while b"_" in model:
        at = model.index(b"_")
        if at == len(model) - 1:
            model = model[: max(0, at - 1)]
        else:
            model = model[:at] + model[at + 2 :]
    return model


def shown(raw):
    """A text on the screen: a replacement character stands for each byte that is no UTF-8."""
    result = ""
    while raw:
        for size in range(1, 5):
            try:
                result += raw[:size].decode()
                break
            except UnicodeDecodeError:
                continue
        else:
            size = 1
            result += "\N{REPLACEMENT CHARACTER}"
        raw = raw[size:]
    return result


def row(address, model_answer, vendor_answer, name_answer):
    """The row of a device by the first datagram that came in time for each question.

    None stands for no datagram. The result is None when the device is not listed.
    """
    texts = []
    for data in (model_answer, vendor_answer, name_answer):
        if data is None or text(data) is None:
            return None
        texts.append(text(data))
    model, vendor, name = texts
    model_name = (vendor + b" " + without_suffixes(model))[: MOST_TEXT - 1]
    return [shown(model_name), shown(name[: MOST_TEXT - 1]), address]


def is_reply(packet, reply):
    """Whether a reply has the sequence number of the command. What is cut off it reads as zeros."""
    return reply[:MOST_BYTES].ljust(14, b"\0")[12:14] == packet[12:14]


def register_packets(exchange):
    """How often a scanner is sent the register command, and the code of its last reply.

    `exchange` gives, for the number of a packet from 0 on, the packet and the first datagram that
    came back in time, or None. The code is None when the last three packets were not answered.
    """
    count = 0
    for _exchange in range(3):
        for _attempt in range(3):
            packet, reply = exchange(count)
            count += 1
            if reply is not None and is_reply(packet, reply):
                break
        else:
            return count, None
        code = reply.ljust(16, b"\0")[15]
        if code != 0xD4:
            break
    return count, code
