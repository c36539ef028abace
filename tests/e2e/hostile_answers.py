"""Wrong answers to the three questions about a scanner's texts, many scanners at a time."""
import itertools
import random

import hostile
import protocol_rules
from packet_cannon import damage, messages
from packet_cannon.office import Send, address

QUESTIONS = ("model", "vendor", "name")

# As the program does not compare the request id, all wrong answers are made from one.
VALID = {
    kind: messages.text_answer(
        messages.Question(kind, bytes.fromhex("12345678"), b""), hostile.TEXTS[kind]
    )
    for kind in QUESTIONS
}


class Device:
    """A scanner: its number, and the wrong answers that it gives instead of right ones."""

    def __init__(self, number, wrong):
        self.address = address(number)
        self.answers = {**VALID, **wrong}

    def row(self):
        return protocol_rules.row(self.address, *(self.answers[kind] for kind in QUESTIONS))

    def asked(self):
        """What it is asked: no more after the first answer that is none."""
        kinds = []
        for kind in QUESTIONS:
            kinds.append((self.address, kind))
            if protocol_rules.text(self.answers[kind]) is None:
                break
        return kinds


def script_of(devices):
    """They all answer the search, in their order."""
    by_address = {device.address: device for device in devices}

    def script(asked):
        if asked.question.kind == "discovery":
            return [hostile.honest(asked, device.address) for device in devices]
        answer = by_address[asked.address].answers[asked.question.kind]
        return [Send(answer, asked.address)]

    return script


def check(office, devices, rows):
    """Exactly the right rows are shown, and exactly the right questions were asked."""
    expected = [question for device in devices for question in device.asked()]
    asked = [(one.address, one.question.kind) for one in office.asked]
    assert asked == [("255.255.255.255", "discovery"), *expected]
    assert rows == [row for row in (device.row() for device in devices) if row is not None]


def surveys(wrong):
    """Makes devices of wrong answers, each a dict from questions, as many as a survey looks at."""
    size = protocol_rules.MOST_ANSWERS
    for begin in range(0, len(wrong), size):
        part = wrong[begin : begin + size]
        yield [Device(number, answers) for number, answers in enumerate(part)]


def search_all(target, office, wrong):
    for devices in surveys(wrong):
        office.asked.clear()
        office.script = script_of(devices)
        target.search()
        check(office, devices, target.rows())


def one_by_one(kind, datagrams):
    return [{kind: data} for data in datagrams]


def every_change():
    """Every change of one byte, of each of the three answers, in random order.

    What hides the scanner stands alone. What does not stands with one of each other answer.
    """
    harmless, result = [], []
    for kind in QUESTIONS:
        changed = damage.changed(VALID[kind])
        good = [data for data in changed if protocol_rules.text(data) is not None]
        harmless.append(one_by_one(kind, good))
        result += one_by_one(kind, sorted(set(changed) - set(good)))
    for answers in itertools.zip_longest(*harmless, fillvalue={}):
        result.append({kind: data for one in answers for kind, data in one.items()})
    random.Random(damage.SEED).shuffle(result)
    return result


def run_every_change(open_window, office, part, parts):
    """Searches with each so many-th of the changes."""
    target = hostile.attack(open_window, office, hostile.LooseWatch)
    search_all(target, office, every_change()[part::parts])
    target.end()
