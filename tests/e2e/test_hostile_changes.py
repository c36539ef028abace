"""Every change of one byte of the answers about a scanner's texts, or one of the thirds of them."""
import os

import hostile_answers


def test_every_change_of_one_byte(open_window, office):
    part, parts = os.environ.get("VELTRANA_PART", "1/1").split("/")
    hostile_answers.run_every_change(open_window, office, int(part) - 1, int(parts))
