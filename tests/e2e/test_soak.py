"""Search after search, cancelled at any moment or run to the end. script/soak does more of them."""
import os
import random

import pytest

from soak.searches import Searches, environment

CYCLES = 20
FIRST_CYCLES = 5


@pytest.fixture
def searches(open_network_page, debug_lines):
    """Searches in a program of their own. A failure shows the seed that gives them again."""
    seed = int(os.environ.get("SOAK_SEED") or random.randrange(1 << 32))
    print(f"SOAK_SEED={seed}")
    window = open_network_page(environment=environment())
    simulator = os.environ["VELTRANA_SCANNER_SIM"]
    return Searches(window, simulator, random.Random(seed), FIRST_CYCLES)


def test_cancelled_searches_keep_the_list_and_leave_nothing_behind(searches):
    for _ in range(CYCLES):
        searches.cancel_one()
    print(searches.watch.now)
    # Some may end before the click that is to cancel them.
    assert searches.cancelled >= CYCLES / 4


def test_searches_to_the_end_give_the_new_list_and_leave_nothing_behind(searches):
    for _ in range(CYCLES):
        searches.finish_one()
    assert searches.finished == CYCLES
