"""Waiting for something to become true, with a bound."""
import time


class NotInTime(AssertionError):
    """What was waited for did not come true within the bound."""


def wait_until(probe, what, seconds=20.0, pause=0.02):
    """Calls probe until it gives a true value, and returns that value.

    Raises NotInTime, naming what was waited for, when that takes longer than the given seconds.
    The name may be a function, which is called then: it can tell what there is instead.
    """
    deadline = time.monotonic() + seconds
    while True:
        value = probe()
        if value:
            return value
        if time.monotonic() > deadline:
            raise NotInTime(f"not within {seconds:g} s: {what() if callable(what) else what}")
        time.sleep(pause)
