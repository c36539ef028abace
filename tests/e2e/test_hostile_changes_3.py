"""Every change of one byte of the answers about a scanner's texts, the last third."""
import hostile_answers


def test_every_change_of_one_byte(open_window, office):
    hostile_answers.run_every_change(open_window, office, 2, 3)
