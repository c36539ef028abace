"""Answers at the wrong time, from the wrong address, or to a port that is not there any more."""
import hostile
from hostile import ANSWER_SECONDS, SEARCH_SECONDS, SLACK_SECONDS
from packet_cannon import messages
from packet_cannon.messages import COMMAND_PORT, SNMP_PORT
from packet_cannon.office import Send, address, desk_count

LATE = ANSWER_SECONDS + 0.5
IN_TIME = ANSWER_SECONDS - 1.0
QUESTIONS = ("model", "vendor", "name")


def row_of(one):
    return ["Veltrana T55", "Reception", one]


def search(open_window, office, script):
    """Starts the program without scanners, and then searches with this script."""
    target = hostile.attack(open_window, office)
    office.asked.clear()
    office.script = script
    return target, target.search()


def text(asked, words, source, **keywords):
    return Send(messages.text_answer(asked.question, words), source, **keywords)


def test_late_answers_find_the_port_closed(open_window, office):
    """Each question that is answered late costs its wait, and hides the scanner."""
    delays = {address(number): (kind, LATE) for number, kind in enumerate(QUESTIONS)}
    delays[address(3)] = ("model", IN_TIME)

    def script(asked):
        if asked.question.kind == "discovery":
            return [hostile.honest(asked, one) for one in (*delays, hostile.HONEST)]
        kind, delay = delays.get(asked.address, (None, 0.0))
        return [hostile.honest(asked, delay=delay if asked.question.kind == kind else 0.0)]

    returned = desk_count("NoPorts")
    target, took = search(open_window, office, script)
    assert target.rows() == [row_of(address(3)), hostile.HONEST_ROW]
    assert office.asked_for("model") == [*delays, hostile.HONEST]
    assert office.asked_for("vendor") == [*list(delays)[1:], hostile.HONEST]
    assert office.asked_for("name") == [*list(delays)[2:], hostile.HONEST]
    waits = 3 * ANSWER_SECONDS + IN_TIME
    assert SEARCH_SECONDS + waits <= took < SEARCH_SECONDS + waits + SLACK_SECONDS
    target.end()
    assert desk_count("NoPorts") >= returned + 3


def test_late_answers_to_the_search_find_the_port_closed(open_window, office):
    """A second without an answer ends the gathering, whatever comes after it."""

    def script(asked):
        if asked.question.kind != "discovery":
            return [hostile.honest(asked)]
        late = [hostile.honest(asked, address(number), 3.0) for number in range(100)]
        return [hostile.honest(asked, hostile.HONEST), *late]

    returned = desk_count("NoPorts")
    target, took = search(open_window, office, script)
    assert target.rows() == [hostile.HONEST_ROW]
    assert office.kinds() == ["discovery", *QUESTIONS]
    assert SEARCH_SECONDS <= took < SEARCH_SECONDS + SLACK_SECONDS
    target.check_right_search()
    assert desk_count("NoPorts") >= returned + 100
    target.end()


def test_late_answer_is_not_taken_for_that_of_the_next_scanner(open_window, office):
    """It comes while that one thinks about its own."""
    texts = {"model": b"Late", "vendor": b"Late", "name": b"Late"}

    def script(asked):
        if asked.question.kind == "discovery":
            return [hostile.honest(asked, address(number)) for number in range(2)]
        if asked.address == address(0):
            return [text(asked, texts[asked.question.kind], asked.address, delay=LATE)]
        return [hostile.honest(asked, delay=IN_TIME)]

    target, took = search(open_window, office, script)
    assert target.rows() == [row_of(address(1))]
    waits = ANSWER_SECONDS + 3 * IN_TIME
    assert SEARCH_SECONDS + waits <= took < SEARCH_SECONDS + waits + SLACK_SECONDS
    target.end()


def test_closed_ports_are_waited_for(open_window, office):
    """A question that comes back by ICMP is not noticed: the wait for its answer goes on."""

    def script(asked):
        for number in range(2):
            yield hostile.honest(asked, address(number))
        office.wait_until_read(asked.port)
        office.close(SNMP_PORT)

    returned = desk_count("InDestUnreachs", "Icmp")
    target, took = search(open_window, office, script)
    assert target.rows() == []
    waits = 2 * ANSWER_SECONDS
    assert SEARCH_SECONDS + waits <= took < SEARCH_SECONDS + waits + SLACK_SECONDS
    assert desk_count("InDestUnreachs", "Icmp") > returned
    # Nobody is left to answer.
    assert SEARCH_SECONDS <= target.search() < SEARCH_SECONDS + SLACK_SECONDS
    assert target.rows() == []
    target.window.cancel.press()
    assert target.window.tool.wait_for_end() == 0


def test_strangers_answer_the_search(open_window, office):
    """Whoever answers is asked at his address, also through the router, whatever his port."""
    strangers = {"192.0.2.7": SNMP_PORT, "192.0.2.250": COMMAND_PORT, "10.77.1.9": COMMAND_PORT}
    silent = "192.0.2.99"

    def script(asked):
        if asked.question.kind == "discovery":
            data = hostile.honest_answer(asked)
            for source, port in strangers.items():
                yield Send(data, source, port=port)
            yield Send(data, silent)
            yield hostile.honest(asked, hostile.HONEST)
        elif asked.address != silent:
            yield hostile.honest(asked)

    target, took = search(open_window, office, script)
    assert target.rows() == [*map(row_of, strangers), hostile.HONEST_ROW]
    assert SEARCH_SECONDS + ANSWER_SECONDS <= took
    assert took < SEARCH_SECONDS + ANSWER_SECONDS + SLACK_SECONDS
    target.end()


def test_strangers_answer_questions(open_window, office):
    """The first datagram counts as the answer, whoever sent it, from whatever port."""
    stranger = "192.0.2.66"

    def script(asked):
        kind = asked.question.kind
        if kind == "discovery":
            return [hostile.honest(asked, address(number)) for number in range(5)]
        number = [address(n) for n in range(5)].index(asked.address)
        false = [
            [text(asked, b"False", stranger)],
            [text(asked, b"False", address(4), port=COMMAND_PORT)],
            [Send(b"no answer", stranger)],
            [Send(b"", stranger)],
            [],
        ][number]
        return [*(false if kind == "vendor" else []), hostile.honest(asked)]

    target, took = search(open_window, office, script)
    assert target.rows() == [
        ["False T55", "Reception", address(0)],
        ["False T55", "Reception", address(1)],
        row_of(address(4)),
    ]
    assert office.asked_for("name") == [address(0), address(1), address(4)]
    assert SEARCH_SECONDS <= took < SEARCH_SECONDS + SLACK_SECONDS
    target.end()


def test_answers_to_other_questions_count(open_window, office):
    """Neither object nor request id are compared: the texts are what came, in the order asked."""
    other = {"model": "name", "vendor": "model", "name": "vendor"}

    def script(asked):
        kind = asked.question.kind
        if kind == "discovery":
            return [hostile.honest(asked, address(0))]
        question = messages.Question(other[kind], bytes(4), b"")
        return [Send(messages.text_answer(question, kind.encode()), asked.address)]

    target, _took = search(open_window, office, script)
    assert target.rows() == [["vendor model", "name", address(0)]]
    target.end()
