"""Floods of answers, to a search, to a question, and while there is no window yet."""
import threading
import time

import hostile
import protocol_rules
from desktop_driver import main_window, xwindows
from desktop_driver.waiting import wait_until
from packet_cannon import messages
from packet_cannon.office import Send, address
from soak.resources import use_of

MANY = 10000
FLOOD_SECONDS = 5.0
PER_SECOND = 4000

NOISY = address(5000)


def honest_script(asked):
    return [hostile.honest(asked, NOISY if asked.question.kind == "discovery" else None)]


def row_of(one):
    return ["Veltrana T55", "Reception", one]


def attack(open_window, office):
    """The program after some usual searches, which it is compared with afterwards."""
    office.script = honest_script
    target = hostile.attack(open_window, office)
    for _ in range(hostile.FIRST_SEARCHES):
        target.search()
        assert target.rows() == [row_of(NOISY)]
    office.asked.clear()
    return target


def flood(office, port, make):
    """Sends what make(number) gives to a port of the program, at a steady rate.

    None is lost, unless the program stops to read. Gives how many there were and the time before the
    last of them left.
    """
    begin, sent, last = time.monotonic(), 0, 0.0
    while time.monotonic() < begin + FLOOD_SECONDS:
        due = int((time.monotonic() - begin) * PER_SECOND)
        if due > sent:
            last = time.time()
        office.send(port, (make(number) for number in range(sent, due)))
        office.wait_until_read(port)
        sent = due
        time.sleep(0.001)
    return sent, last


def wait_for_discovery(office):
    """The port of the program's search, once that has begun."""
    asked = wait_until(lambda: office.asked, "the search")[0]
    assert asked.question.kind == "discovery"
    return asked.port


def test_ten_thousand_answers_of_one_scanner(open_window, office):
    """They all count, and the scanner is asked and listed 256 times. All memory is given back."""
    target = attack(open_window, office)

    def script(asked):
        copies = MANY if asked.question.kind == "discovery" else 1
        return honest_script(asked) * copies

    for _ in range(3):
        office.asked.clear()
        office.script = script
        target.search()
        assert target.answers() == MANY
        assert target.window.devices.accessible.queryTable().nRows == protocol_rules.MOST_ANSWERS
        questions = ["model", "vendor", "name"] * protocol_rules.MOST_ANSWERS
        assert office.kinds() == ["discovery", *questions]
        assert set(office.asked_for("model", "vendor", "name")) == {NOISY}
    target.end()


def test_ten_thousand_answers_to_each_question(open_window, office):
    """The first counts. The others find the port closed."""
    target = attack(open_window, office)
    others = messages.Question("name", bytes(4), b"")

    def script(asked):
        kind = asked.question.kind
        yield from honest_script(asked)
        if kind != "discovery":
            wrong = messages.text_answer(others._replace(kind=kind), b"Other")
            yield from [Send(wrong, asked.address)] * MANY

    office.script = script
    took = target.search()
    assert target.rows() == [row_of(NOISY)]
    assert took < hostile.SEARCH_SECONDS + hostile.SLACK_SECONDS
    target.end()


def test_answers_faster_than_they_are_read(open_window, office):
    """What finds no room is lost; the rest counts."""
    target = attack(open_window, office)
    office.script = lambda asked: ()
    target.start_search()
    port = wait_for_discovery(office)
    office.script = honest_script
    answer = messages.discovery_answer(office.asked[0].question)
    office.send(port, [Send(answer, NOISY)] * 3 * MANY, throttled=False)
    target.wait_for_search()
    assert 1 <= target.answers() <= 3 * MANY
    listed = min(target.answers(), protocol_rules.MOST_ANSWERS)
    assert target.window.devices.accessible.queryTable().nRows == listed
    target.end()


def test_steady_flood_keeps_the_gathering_going(open_window, office):
    """As long as it lasts, and a second longer. Among the noise is an answer now and then."""
    target = attack(open_window, office)
    office.script = lambda asked: ()
    target.start_search()
    port = wait_for_discovery(office)
    office.script = honest_script
    answer = messages.discovery_answer(office.asked[0].question)

    def make(number):
        return Send(b"noise" if number % 100 else answer, address(number // 100))

    sent, end = flood(office, port, make)
    assert office.kinds() == ["discovery"]
    target.wait_for_search()
    answers = -(-sent // 100)
    assert target.answers() == answers
    rows = [row_of(address(number)) for number in range(answers)]
    assert target.rows() == rows[: protocol_rules.MOST_ANSWERS]
    quiet = office.asked[1].time - end
    assert hostile.GATHERING_SECONDS - 0.1 <= quiet
    assert quiet < hostile.GATHERING_SECONDS + hostile.SLACK_SECONDS
    target.end()


def test_no_window_during_a_flood_at_the_start(open_window, start_program, office):
    """It appears when the flood is over, and the memory for all the answers is given back."""
    usual = attack(open_window, office)
    usual_memory = use_of(usual.pid).memory
    usual.end()
    office.asked.clear()
    office.script = lambda asked: ()
    tool = start_program(environment=hostile.ENVIRONMENT)
    port = wait_for_discovery(office)
    office.script = honest_script
    answer = messages.discovery_answer(office.asked[0].question)
    _, end = flood(office, port, lambda number: Send(answer, NOISY))
    assert xwindows.window_ids(tool.process.pid) == []
    assert office.kinds() == ["discovery"]
    window = main_window.MainWindow(tool)
    assert office.asked[1].time - end >= hostile.GATHERING_SECONDS - 0.1
    assert office.asked[1].time - end < hostile.GATHERING_SECONDS + hostile.SLACK_SECONDS
    target = hostile.Target(window, office)
    table = window.devices.accessible.queryTable()
    assert table.nRows == protocol_rules.MOST_ANSWERS
    assert use_of(target.pid).memory < usual_memory + target.watch.SLACK
    target.end()


def test_drops_that_come_in_time_keep_the_gathering_going(open_window, office):
    """Sixteen answers, each 0.4 s after the one before: more than six seconds."""
    target = attack(open_window, office)
    drops = range(1, 17)

    def script(asked):
        if asked.question.kind == "discovery":
            return [hostile.honest(asked, address(number), 0.4 * number) for number in drops]
        return [hostile.honest(asked)]

    office.script = script
    took = target.search()
    assert target.rows() == [row_of(address(number)) for number in drops]
    least = 0.4 * len(drops) + hostile.SEARCH_SECONDS
    assert least <= took < least + hostile.SLACK_SECONDS
    target.end()


def test_cancel_during_a_flood(open_window, office):
    """The dialog goes at once and the list stays."""
    target = attack(open_window, office)
    office.script = lambda asked: ()
    dialog = target.window.begin_search()
    port = wait_for_discovery(office)
    sent = []

    def make(number):
        sent.append(number)
        return Send(b"noise", address(number % 1000))

    sender = threading.Thread(target=flood, args=(office, port, make))
    sender.start()
    wait_until(lambda: len(sent) > PER_SECOND, "the first second of the flood")
    begin = time.monotonic()
    dialog.find("push button", "Cancel").press()
    target.window.wait_for_no_dialog()
    assert time.monotonic() - begin < hostile.SLACK_SECONDS
    sender.join()
    assert office.kinds() == ["discovery"]
    assert target.rows() == [row_of(NOISY)]
    target.end()
