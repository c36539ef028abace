"""What a process uses of the machine, as /proc tells it."""
import os
import pathlib
import re
from typing import NamedTuple

from desktop_driver.waiting import NotInTime, wait_until


class Use(NamedTuple):
    """Threads, open descriptors, and memory that the process shares with nobody, in KiB."""

    threads: int
    descriptors: int
    memory: int

    def __str__(self):
        memory = self.memory / 1024
        return f"{self.threads} threads, {self.descriptors} descriptors, {memory:.1f} MiB"


def use_of(pid):
    status = pathlib.Path(f"/proc/{pid}/status").read_text()
    threads, memory = (
        int(re.search(rf"^{name}:\s+(\d+)", status, re.MULTILINE)[1])
        for name in ("Threads", "RssAnon")
    )
    return Use(threads, len(os.listdir(f"/proc/{pid}/fd")), memory)


class Watch:
    """Watches that a process uses no more after its first cycles of work than after them.

    Threads and descriptors may not become more at all. The memory may grow by so many KiB in each
    cycle, and by some once.
    """

    # What allocators and caches take when they please, in KiB.
    SLACK = 4096
    # The thread sanitizer notes things for every lock and thread, and forgets them when it pleases:
    # 7 MiB come and go with twenty searches.
    THREAD_SANITIZER_SLACK = 16384

    def __init__(self, pid, first_cycles, memory_per_cycle):
        self._pid = pid
        self._first_cycles = first_cycles
        self._memory_per_cycle = memory_per_cycle
        self._cycles = 0
        self._slack = self.SLACK
        if "libtsan" in pathlib.Path(f"/proc/{pid}/maps").read_text():
            self._slack = max(self.SLACK, self.THREAD_SANITIZER_SLACK)
        self.at_start = self.after_first = self.now = use_of(pid)

    @property
    def most_memory(self):
        """What the memory may have grown to by now, in KiB."""
        counted = self._cycles - self._first_cycles
        return self.after_first.memory + self._slack + counted * self._memory_per_cycle

    def check(self):
        """Looks at the process after a cycle."""
        self._cycles += 1
        self.now = use_of(self._pid)
        if self._cycles <= self._first_cycles:
            threads = max(self.after_first.threads, self.now.threads)
            descriptors = max(self.after_first.descriptors, self.now.descriptors)
            self.after_first = Use(threads, descriptors, self.now.memory)
            return
        self._wait_for_no_more()
        assert self.now.memory <= self.most_memory, (
            f"cycle {self._cycles}: {self.now} against {self.after_first} after cycle "
            f"{self._first_cycles}: more memory than {self.most_memory} KiB"
        )

    def _wait_for_no_more(self):
        """The kernel lists a thread for a moment longer than the process has it."""

        def no_more():
            self.now = use_of(self._pid)
            return (
                self.now.threads <= self.after_first.threads
                and self.now.descriptors <= self.after_first.descriptors
            )

        try:
            wait_until(no_more, "the use of the machine to fall", seconds=5.0)
        except NotInTime:
            raise AssertionError(
                f"cycle {self._cycles}: {self.now} against {self.after_first} at most in the "
                f"first {self._first_cycles} cycles"
            ) from None
