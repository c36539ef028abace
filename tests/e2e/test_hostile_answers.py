"""Everything that can be wrong with an answer to a question about a scanner's texts."""
import hostile
import hostile_answers
import protocol_rules
from hostile_answers import VALID


def wrong_answers(how_many):
    wrong = []
    for kind in hostile_answers.QUESTIONS:
        datagrams = hostile.everything_wrong(VALID[kind], how_many)
        wrong += hostile_answers.one_by_one(kind, datagrams)
    return wrong


def test_wrong_answers(open_window, office):
    target = hostile.attack(open_window, office, hostile.LooseWatch)
    hostile_answers.search_all(target, office, wrong_answers(200))
    target.end()


def test_wrong_answers_at_the_start(open_window, office):
    wrong = wrong_answers(1)[::13]
    (devices,) = hostile_answers.surveys(wrong[: protocol_rules.MOST_ANSWERS])
    office.script = hostile_answers.script_of(devices)
    target = hostile.attack(open_window, office, hostile.LooseWatch)
    hostile_answers.check(office, devices, target.rows())
    target.end()
