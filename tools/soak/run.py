"""Runs one program of script/soak. Runs inside script/lab --accessibility."""
import argparse
import pathlib
import random
import sys
import time

TOP = pathlib.Path(__file__).resolve().parents[2]
sys.path.insert(0, str(TOP / "tools"))

from desktop_driver import main_window, program  # noqa: E402  (needs the line above)
from soak.searches import Searches, environment  # noqa: E402

FIRST_CYCLES = 10
TELL_EVERY = 25


class Soak:
    """One program, one kind of cycle, the words in front of each line that is printed."""

    def __init__(self, options, tool):
        self._options = options
        self._tool = tool
        window = main_window.MainWindow(tool)
        window.show_page(main_window.NETWORK)
        self._window = window
        self._searches = Searches(
            window, options.simulator, random.Random(options.seed), FIRST_CYCLES
        )
        self._began = time.monotonic()

    def say(self, text):
        print(f"{self._options.label}: {text}", flush=True)

    def run(self):
        self.say(f"seed {self._options.seed}, {self._searches.watch.at_start}")
        cycle = getattr(self._searches, f"{self._options.kind}_one")
        for number in range(1, self._options.cycles + 1):
            cycle()
            if number % TELL_EVERY == 0 and number < self._options.cycles:
                self.say(f"cycle {number}: {self._searches.watch.now}")
        self._window.cancel.press()
        status = self._tool.wait_for_end(60)
        assert status == 0, f"the program ended with status {status}: {self._tool.errors[-2000:]}"
        self._sum_up()

    def _sum_up(self):
        done, watch = self._searches, self._searches.watch
        minutes = (time.monotonic() - self._began) / 60
        self.say(
            f"{self._options.cycles} cycles in {minutes:.1f} minutes: {done.cancelled} cancelled, "
            f"{done.finished} to the end, no complaint, every list right"
        )
        self.say(f"at the start  {watch.at_start}")
        self.say(f"after {FIRST_CYCLES:<7} {watch.after_first}")
        self.say(f"at the end    {watch.now} (at most {watch.most_memory / 1024:.1f} MiB)")


def parse():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("--kind", choices=["cancel", "finish"], required=True)
    parser.add_argument("--cycles", type=int, required=True)
    parser.add_argument("--seed", type=int, required=True)
    parser.add_argument("--label", required=True)
    parser.add_argument("--program", type=pathlib.Path, required=True)
    parser.add_argument("--simulator", type=pathlib.Path, required=True)
    return parser.parse_args()


def main():
    options = parse()
    program.switch_debug_on("err")
    try:
        with program.Program(options.program, environment=environment()) as tool:
            Soak(options, tool).run()
    except AssertionError as failure:
        print(f"{options.label}: FAILED: {failure}", flush=True)
        return 1
    return 0


if __name__ == "__main__":
    sys.exit(main())
