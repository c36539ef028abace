"""A cable that loses, doubles, delays and reorders packets.

The rows and questions that are right are worked out from what the desk was given.
"""
import pytest

import hostile
import protocol_rules
from hostile import ANSWER_SECONDS, SEARCH_SECONDS, SLACK_SECONDS
from packet_cannon import damage, messages
from packet_cannon.bad_link import BadLink, Faults
from packet_cannon.office import address

SCANNERS = 6
QUESTIONS = ("model", "vendor", "name")
MOST_DELAY = 0.2
LOSS = Faults(loss=0.3)
TWICE = Faults(twice=0.5)
DELAY = Faults(delay=MOST_DELAY)  # a random one for each packet, so that they overtake each other
ALL = Faults(0.3, 0.3, MOST_DELAY)


@pytest.fixture(scope="module")
def cable():
    print(f"random numbers from seed {damage.SEED}")
    return BadLink(damage.SEED)


def script(asked):
    """Six honest scanners."""
    if asked.question.kind == "discovery":
        return [hostile.honest(asked, address(number)) for number in range(SCANNERS)]
    return [hostile.honest(asked)]


class Exchange:
    """A datagram that the desk sent, and what it was given at the same port until the next one."""

    def __init__(self, sent):
        read = messages.read_command if len(sent.data) == 48 else messages.read_request
        self.question = read(sent.data)
        self.port = sent.source_port
        self.target = sent.target
        self.answers = []

    @property
    def first(self):
        return self.answers[0].data if self.answers else None


def exchanges(passed):
    result = []
    for datagram in passed:
        if not datagram.to_desk:
            result.append(Exchange(datagram))
        elif result and datagram.target_port == result[-1].port:
            result[-1].answers.append(datagram)
    return result


def survey(passed):
    """The right rows, the questions that have to be asked, and how many had no answer."""
    discovery, *queries = exchanges(passed)
    rows, wanted, unanswered = [], [("255.255.255.255", "discovery")], 0
    for device in discovery.answers:
        if not protocol_rules.is_device(device.data):
            continue
        answers = {}
        for kind in QUESTIONS:
            wanted.append((device.source, kind))
            answers[kind] = queries.pop(0).first if queries else None
            if answers[kind] is None:
                unanswered += 1
                break
        row = protocol_rules.row(device.source, *map(answers.get, QUESTIONS))
        rows += [] if row is None else [row]
    return rows, wanted, unanswered


def check_search(target, cable):
    cable.passed.clear()
    took = target.search()
    rows, wanted, unanswered = survey(cable.passed)
    asked = [(one.target, one.question.kind) for one in exchanges(cable.passed)]
    assert asked == wanted
    assert target.rows() == rows
    least = SEARCH_SECONDS + ANSWER_SECONDS * unanswered
    # Each packet may be delayed on its way there and back.
    most = least + 2 * MOST_DELAY * len(wanted) + SLACK_SECONDS
    assert least <= took < most
    return rows, unanswered


def check_apply(target, cable, devices):
    """The list has these scanners; each gets as many packets as the replies that arrive call for."""
    cable.passed.clear()
    took = target.apply()
    packets = exchanges(cable.passed)
    expected, asked, unanswered = [], [], 0
    for device in devices:
        left = packets[len(asked) :]
        count, code = protocol_rules.register_packets(
            lambda number, left=left: (left[number].question.data, left[number].first)
        )
        unanswered += sum(one.first is None for one in left[:count])
        asked += [device] * count
        expected.append((device, code))
    assert [packet.target for packet in packets] == asked
    assert target.registered() == expected
    least = ANSWER_SECONDS * unanswered
    assert least <= took < least + 2 * MOST_DELAY * len(asked) + SLACK_SECONDS


@pytest.mark.parametrize(
    "faults, searches",
    [(LOSS, 4), (TWICE, 3), (DELAY, 3), (ALL, 2)],
    ids=["loss", "doubling", "delay", "all"],
)
def test_rows_are_those_of_what_arrived(open_window, office, cable, faults, searches):
    cable.faults = Faults()
    office.script = script
    target = hostile.attack(open_window, office)
    devices = [address(number) for number in range(SCANNERS)]
    assert [row[2] for row in target.rows()] == devices
    before = dict(cable.counts)

    cable.faults = faults
    check_apply(target, cable, devices)
    results = [check_search(target, cable) for _ in range(searches)]
    cable.faults = Faults()

    counts = {name: cable.counts[name] - before[name] for name in before}
    print(f"{counts}, rows and unanswered questions: {results}")
    assert bool(counts["lost"]) == bool(faults.loss)
    assert bool(counts["doubled"]) == bool(faults.twice)
    if not faults.loss:
        assert all(len(rows) >= SCANNERS and not unanswered for rows, unanswered in results)
    target.end()
