"""Everything that can be wrong with an answer to the search for scanners."""
import random

import hostile
import protocol_rules
from packet_cannon import damage, messages
from packet_cannon.office import Send, address

# As the program does not compare the request id, all wrong answers are made from one.
QUESTION = messages.Question("discovery", bytes.fromhex("12345678"), b"")
VALID = messages.discovery_answer(QUESTION)

# Of the 256 that the program asks, one is honest.
MOST_DEVICES = protocol_rules.MOST_ANSWERS - 1


def answer_with(datagrams):
    """A script: each datagram answers the search from an address of its own, an honest scanner
    after them. What has answered the search knows nothing else."""

    def script(asked):
        if asked.question.kind == "discovery":
            for number, data in enumerate(datagrams):
                yield Send(data, address(number))
            yield hostile.honest(asked, hostile.HONEST)
        elif asked.address == hostile.HONEST:
            yield hostile.honest(asked)
        else:
            yield hostile.no_such_object(asked)

    return script


def devices(datagrams):
    """The addresses of the datagrams that are answers."""
    numbers = range(len(datagrams))
    return [address(number) for number in numbers if protocol_rules.is_device(datagrams[number])]


def check_asked(office, datagrams):
    """Exactly what gave an answer was asked for its model, in the order of the answers."""
    expected = [*devices(datagrams), hostile.HONEST][: protocol_rules.MOST_ANSWERS]
    assert office.asked_for("model") == expected
    rows = [hostile.HONEST_ROW] if hostile.HONEST in expected else []
    assert office.asked_for("vendor") == office.asked_for("name") == [row[2] for row in rows]
    return rows


def batches(datagrams):
    """Splits datagrams so that no part has more answers in it than the program looks at."""
    part, count = [], 0
    for data in datagrams:
        counts = protocol_rules.is_device(data)
        if count == MOST_DEVICES and counts or len(part) == 2000:
            yield part
            part, count = [], 0
        part.append(data)
        count += counts
    yield part


def test_wrong_answers_at_the_start(open_window, office):
    wrong = hostile.everything_wrong(VALID)
    (first, *_rest) = batches(wrong)
    office.script = answer_with(first)
    target = hostile.attack(open_window, office)
    assert target.rows() == check_asked(office, first) == [hostile.HONEST_ROW]
    target.end()


def test_wrong_answers(open_window, office):
    target = hostile.attack(open_window, office)
    parts = list(batches(hostile.everything_wrong(VALID)))
    for part in parts:
        office.asked.clear()
        office.script = answer_with(part)
        target.search()
        assert target.rows() == check_asked(office, part)
        assert target.answers() == len(devices(part)) + 1
    target.end()


def test_every_change_of_one_byte(open_window, office):
    wrong = damage.changed(VALID)
    random.Random(damage.SEED).shuffle(wrong)
    target = hostile.attack(open_window, office)
    for part in batches(wrong):
        office.asked.clear()
        office.script = answer_with(part)
        target.search()
        assert target.rows() == check_asked(office, part)
    target.end()


def test_more_answers_than_the_list_has_room_for(open_window, office):
    """All at once: only the first 256 are asked, the others count."""
    wrong = damage.changed(VALID) + hostile.everything_wrong(VALID)
    random.Random(damage.SEED).shuffle(wrong)
    target = hostile.attack(open_window, office)
    for _ in range(3):
        office.asked.clear()
        office.script = answer_with(wrong)
        target.search()
        assert target.rows() == check_asked(office, wrong) == []
        assert target.answers() == len(devices(wrong)) + 1
    target.end()
