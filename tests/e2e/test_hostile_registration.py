"""Everything that can be wrong with a scanner's reply to the register command."""
import random

import hostile
import protocol_rules
from packet_cannon import damage, messages
from packet_cannon.messages import COMMAND_PORT, DONE, NOT_NOW
from packet_cannon.office import Send, address, desk_count

DEVICES = protocol_rules.MOST_ANSWERS

# A scanner may send data, which the program has no use for.
DATA = bytes(range(0x61, 0x61 + 28))


def several(count):
    """A script: so many honest scanners."""

    def script(asked):
        if asked.question.kind == "discovery":
            return [hostile.honest(asked, address(number)) for number in range(count)]
        return [hostile.honest(asked)]

    return script


def attack(open_window, office, count):
    """The program with that many scanners in its list."""
    office.script = several(count)
    target = hostile.attack(open_window, office)
    assert len(office.asked_for("name")) == count
    return target


class Replies:
    """A script: each scanner replies to every register command with what its function makes of the
    command. Keeps packets and replies."""

    def __init__(self, makers):
        self._makers = {address(number): maker for number, maker in enumerate(makers)}
        self.exchanged = {one: [] for one in self._makers}

    def __call__(self, asked):
        data = self._makers[asked.address](asked.question)
        self.exchanged[asked.address].append((asked.question.data, data))
        return [] if data is None else [Send(data, asked.address, 0, COMMAND_PORT)]

    def check(self, target):
        """Each scanner got as many packets as its replies call for, and the last one counted."""
        expected = []
        for one, exchanged in self.exchanged.items():
            count, code = protocol_rules.register_packets(exchanged.__getitem__)
            assert len(exchanged) == count, (one, exchanged)
            expected.append((one, code))
        assert target.registered() == expected


def register_all(target, office, makers):
    """Registers again and again, each scanner replying in one of the given ways."""
    for begin in range(0, len(makers), DEVICES):
        part = makers[begin : begin + DEVICES]
        part += [messages.reply] * (DEVICES - len(part))
        office.script = replies = Replies(part)
        took = target.apply()
        replies.check(target)
        # Whatever the replies, there is one to each packet.
        assert took < hostile.SLACK_SECONDS


def changed_reply(offset, difference):
    def make(question):
        data = bytearray(messages.reply(question, data=DATA))
        data[offset] ^= difference
        return bytes(data)

    return make


def test_every_change_of_one_byte(open_window, office):
    target = attack(open_window, office, DEVICES)
    size = 20 + len(DATA)
    makers = [changed_reply(offset, bits) for offset in range(size) for bits in range(1, 256)]
    random.Random(damage.SEED).shuffle(makers)
    register_all(target, office, makers)
    target.end()


def lying_replies():
    """Replies whose data are less or more than their length says, with each code that matters."""
    lengths = (0, 1, 27, 28, 29, 127, 128, 254, 255)
    counts = (0, 1, 27, 28, 29, 255, 256, 1516, 1517, 9000, damage.LARGEST - 20)
    return [
        lambda question, c=code, n=length, d=count: messages.reply(question, c, bytes(d), n)
        for code in (DONE, NOT_NOW, 0x7F, 0)
        for length in lengths
        for count in counts
    ]


def cut_replies():
    return [
        lambda question, n=size, d=data: messages.reply(question, data=d)[:n]
        for data in (b"", DATA)
        for size in range(20 + len(data))
    ]


def spoilt_replies(generator):
    """Random bytes, and replies that have the right sequence number and otherwise such bytes."""

    def noise(size):
        return lambda question: generator.randbytes(size)

    def spoilt(question):
        tail = generator.randbytes(generator.randrange(60))
        return generator.randbytes(12) + question.mark + tail

    return [noise(generator.randrange(200)) for _ in range(250)] + [spoilt] * 250


def wrong_sequences():
    def wrong(difference):
        return lambda question: messages.reply(
            question, sequence=bytes(a ^ b for a, b in zip(question.mark, difference))
        )

    every_bit = [(1 << bit).to_bytes(2, "little") for bit in range(16)]
    swapped = [lambda question: messages.reply(question, sequence=question.mark[::-1])]
    return [wrong(difference) for difference in (*every_bit, b"\xff\xff")] + swapped


def test_wrong_replies(open_window, office):
    generator = random.Random(damage.SEED)
    print(f"random numbers from seed {damage.SEED}")
    makers = lying_replies() + cut_replies() + spoilt_replies(generator) + wrong_sequences()
    makers += [lambda question, size=size: bytes(size) for size in (0, 1536, 1537, damage.LARGEST)]
    generator.shuffle(makers)
    target = attack(open_window, office, DEVICES)
    register_all(target, office, makers)
    target.end()


def test_ten_thousand_replies(open_window, office):
    """The first counts. The others find the port closed, or what is left of it."""
    target = attack(open_window, office, 2)

    def script(asked):
        code = NOT_NOW if asked.address == address(0) else DONE
        data = messages.reply(asked.question, code)
        return [Send(data, asked.address, 0, COMMAND_PORT)] * 10000

    office.script = script
    took = target.apply()
    assert target.registered() == [(address(0), NOT_NOW), (address(1), DONE)]
    assert office.asked_for("register") == [address(0)] * 3 + [address(1)]
    assert took < hostile.SLACK_SECONDS
    target.end()


def test_reply_of_a_stranger_counts(open_window, office):
    """What comes first counts, from whatever address and port, and never what comes after it."""
    target = attack(open_window, office, 3)

    def script(asked):
        stranger = "192.0.2.7" if asked.address == address(0) else address(300)
        if asked.address == address(2):
            first = Send(b"", stranger, 0, COMMAND_PORT)
        else:
            first = Send(messages.reply(asked.question, 0x7F), stranger)
        return [first, hostile.honest(asked)]

    office.script = script
    target.apply()
    assert target.registered() == [(address(0), 0x7F), (address(1), 0x7F), (address(2), None)]
    packets = [address(0), address(1)] + [address(2)] * 3
    assert office.asked_for("register") == packets
    target.end()


def test_late_replies_find_the_port_closed(open_window, office):
    """Each comes half a second after its packet was given up."""
    target = attack(open_window, office, 3)
    returned = desk_count("NoPorts")
    late = hostile.ANSWER_SECONDS + 0.5
    office.script = lambda asked: [
        hostile.honest(asked, delay=late if asked.address == address(1) else 0.0)
    ]
    took = target.apply()
    assert target.registered() == [(address(0), DONE), (address(1), None), (address(2), DONE)]
    assert office.asked_for("register") == [address(0)] + [address(1)] * 3 + [address(2)]
    waits = 3 * hostile.ANSWER_SECONDS
    assert waits <= took < waits + hostile.SLACK_SECONDS
    target.end()
    assert desk_count("NoPorts") >= returned + 3


def test_closed_ports_are_waited_for(open_window, office):
    """A packet that comes back by ICMP is not noticed: the wait for its reply goes on."""
    target = attack(open_window, office, 2)
    returned = desk_count("InDestUnreachs", "Icmp")

    def script(asked):
        office.close(COMMAND_PORT)
        return []

    office.script = script
    took = target.apply()
    assert target.registered() == [(address(0), None), (address(1), None)]
    waits = 6 * hostile.ANSWER_SECONDS
    assert waits <= took < waits + hostile.SLACK_SECONDS
    assert desk_count("InDestUnreachs", "Icmp") > returned
    target.end()
