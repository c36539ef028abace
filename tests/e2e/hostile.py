"""The program under fire: its searches, what it writes about them, what it uses of the machine."""
import os
import pathlib
import random
import re
import time

from desktop_driver import program
from desktop_driver.main_window import NETWORK
from desktop_driver.waiting import wait_until
from packet_cannon import damage, messages
from packet_cannon.office import Send
from soak.resources import Watch

# A sanitizer makes the program slow, and its allocator gives freed memory back late or not at all.
SANITIZED = re.search(rb"lib[at]san\.so", pathlib.Path(os.environ["VELTRANA_PROGRAM"]).read_bytes())

# What anything may take beyond its waits, on a busy machine.
SLACK_SECONDS = 30.0 if SANITIZED else 8.0
GATHERING_SECONDS = 1.0
ANSWER_SECONDS = 3.0
PAUSE_SECONDS = 1.0
SEARCH_SECONDS = GATHERING_SECONDS + PAUSE_SECONDS  # when all answers come at once

# Freed memory that the address sanitizer keeps, to recognise its use, would look like growth, and
# looking for leaks makes each of a million allocations slow.
ENVIRONMENT = {"ASAN_OPTIONS": "quarantine_size_mb=8:detect_leaks=0:fast_unwind_on_malloc=1"}

# What each search leaves behind in KiB: the widgets of its dialog.
MEMORY_PER_SEARCH = 64
FIRST_SEARCHES = 3

LIST_IS_FILLED = rb"CTabNetwork::SetMachineList end"
REGISTRATION = re.compile(
    rb"registerOneNetDevice ip=\((?P<ip>[\d.]+)\)|response\.command=0x(?P<code>\w+)"
    rb"|client register command failed"
)

HONEST = "10.77.0.101"
TEXTS = {"model": b"T55_E", "vendor": b"Veltrana", "name": b"Reception"}
HONEST_ROW = ["Veltrana T55", "Reception", HONEST]


def honest_answer(asked, texts=None):
    """What a scanner answers that has these texts."""
    question = asked.question
    if question.kind == "discovery":
        return messages.discovery_answer(question)
    if question.kind in messages.COMMANDS.values():
        return messages.reply(question)
    return messages.text_answer(question, (texts or TEXTS)[question.kind])


def honest(asked, source=None, delay=0.0):
    """The answer of an honest scanner, from the address that was asked or another one."""
    kind = asked.question.kind
    port = messages.COMMAND_PORT if kind in messages.COMMANDS.values() else messages.SNMP_PORT
    return Send(honest_answer(asked), source or asked.address, delay, port)


def no_such_object(asked):
    """The answer of an agent that does not know what it is asked for: it is asked no more."""
    return Send(messages.text_answer(asked.question, b"", error_status=2), asked.address)


def everything_wrong(valid, how_many=500):
    """All that can be wrong with an answer, and so many of each kind that is random, shuffled."""
    generator = random.Random(damage.SEED)
    print(f"random numbers from seed {damage.SEED}")
    wrong = [
        *damage.cut(valid),
        *damage.false_lengths(valid),
        *damage.noise(generator, how_many),
        *damage.half_right(generator, valid, how_many),
        *damage.damaged(generator, valid, how_many),
        *damage.sizes(generator, valid),
    ]
    generator.shuffle(wrong)
    return wrong


class UsualWatch(Watch):
    """Threads and descriptors must not become more, nor the memory."""

    SLACK = 512 * 1024 if SANITIZED else Watch.SLACK


class LooseWatch(UsualWatch):
    """For tests that read long lists: the accessibility library keeps what it has told about."""

    SLACK = UsualWatch.SLACK + 20480


class Target:
    """A running program whose Network page is in front, with its debug lines."""

    def __init__(self, window, office, watch=UsualWatch):
        self.window = window
        self.office = office
        self.pid = window.tool.process.pid
        self._begin = 0
        self._applied = 0
        self.lines = b""
        # The window is filled after it is shown.
        self.wait_for_line(LIST_IS_FILLED)
        window.show_page(NETWORK)
        self.watch = watch(self.pid, FIRST_SEARCHES, MEMORY_PER_SEARCH)

    def _new_lines(self):
        piece = self.window.tool.errors_from(self._begin)
        self._begin += len(piece)
        return piece

    def forget_lines(self):
        self._new_lines()
        self.lines = b""

    def start_search(self):
        self.forget_lines()
        self.window.search.press()

    def wait_for_search(self, seconds=60.0):
        """Waits for the end of a search. Then `lines` has what the program wrote meanwhile.

        The program uses no more of the machine than after the first searches.
        """
        self.wait_for_line(LIST_IS_FILLED, seconds)
        self.window.wait_for_no_dialog()
        self.watch.check()

    def search(self):
        """Searches to the end; gives the time that it took."""
        begin = time.monotonic()
        self.start_search()
        self.wait_for_search()
        return time.monotonic() - begin

    def wait_for_line(self, pattern, seconds=60.0):
        """Waits for a debug line and gives the match."""

        def look():
            self.lines += self._new_lines()
            return re.search(pattern, self.lines)

        return wait_until(look, lambda: f"{pattern} in {self.lines[-300:]}", seconds)

    def answers(self):
        """How many answers the search counted."""
        found = re.search(rb"searchMachine num=\((\d+)\)", self.lines)
        return int(found[1]) if found else 0

    def rows(self):
        return self.window.devices.rows()

    def apply(self, seconds=60.0):
        """Registers under another name on all that is listed; gives the time that it took.

        `lines` and the use of the machine are as after a search.
        """
        self._applied += 1
        self.window.name_entry.type_over(f"pc-{self._applied}")
        self.forget_lines()
        begin = time.monotonic()
        self.window.wait_for_apply(seconds)
        took = time.monotonic() - begin
        self.lines = self._new_lines()
        self.watch.check()
        return took

    def registered(self):
        """What became of each registration since then: the address, and the code of the reply."""
        result, address = [], None
        for match in REGISTRATION.finditer(self.lines):
            address = match["ip"] or address
            if not match["ip"]:
                code = int(match["code"], 16) if match["code"] else None
                result.append((address.decode(), code))
        return result

    def check_right_search(self):
        """One honest scanner is found and listed, and that takes its usual time."""
        self.office.wait_until_idle()
        self.office.script = lambda asked: [
            honest(asked, HONEST if asked.question.kind == "discovery" else None)
        ]
        took = self.search()
        assert self.rows() == [HONEST_ROW], (self.office.asked[-5:], self.lines)
        assert SEARCH_SECONDS <= took < SEARCH_SECONDS + SLACK_SECONDS

    def end(self):
        """A last right search, and out."""
        self.check_right_search()
        self.window.cancel.press()
        assert self.window.tool.wait_for_end() == 0


def attack(open_window, office, watch=UsualWatch):
    """Starts the program and gives it as a Target."""
    program.switch_debug_on("err")
    return Target(open_window(environment=ENVIRONMENT), office, watch)
