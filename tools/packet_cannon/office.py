"""Any number of scanners in the lab's office, in this very process.

An Office owns all addresses of 10.77.64.0/18, of 192.0.2.0/24, and 10.77.0.64 to 10.77.1.255. It
answers what the program asks at any of them with whatever a script says: other bytes, other
addresses, other times.
"""
import contextlib
import ctypes
import heapq
import itertools
import os
import pathlib
import re
import select
import socket
import struct
import subprocess
import threading
import time
from typing import NamedTuple

from . import messages

OFFICE = "/tmp/.lab/office"
CLONE_NEWNET = 0x40000000
IP_PKTINFO = 8
MOST_BYTES = 65536
MOST_URGENT = -20

# Addresses for scanners beyond those that the lab gives the office. The second are not in the
# desk's network (RFC 5737 keeps them for examples). The desk reaches both through the office as its
# router: the kernel's list of neighbours, which all labs share, has no room for thousands.
MORE_ADDRESSES = ("10.77.64.0/18", "192.0.2.0/24")
ROUTER = "10.77.0.1"

# As many answers are sent at once as the program's socket surely keeps, whatever their size.
BURST = 64


class Send(NamedTuple):
    """An answer: its bytes, the address that it comes from, the seconds before it is sent."""

    data: bytes
    source: str
    delay: float = 0.0
    port: int = messages.SNMP_PORT  # that it comes from


class Asked(NamedTuple):
    """A question that reached the office."""

    time: float
    address: str
    port: int  # of the program
    question: messages.Question


def address(number):
    """The address of a scanner by its number, up to 16000."""
    return f"10.77.{64 + number // 250}.{1 + number % 250}"


@contextlib.contextmanager
def in_namespace(path):
    """Lets this thread make its sockets in another network namespace."""
    libc = ctypes.CDLL(None, use_errno=True)
    with open("/proc/thread-self/ns/net", "rb") as home, open(path, "rb") as there:

        def enter(namespace):
            if libc.setns(namespace.fileno(), CLONE_NEWNET) != 0:
                raise OSError(ctypes.get_errno(), f"setns {path}")

        enter(there)
        try:
            yield
        finally:
            enter(home)


def open_socket(port):
    with in_namespace(OFFICE):
        opened = socket.socket(socket.AF_INET, socket.SOCK_DGRAM)
    opened.setsockopt(socket.SOL_SOCKET, socket.SO_RCVBUF, 4 << 20)
    opened.setsockopt(socket.SOL_SOCKET, socket.SO_SNDBUF, 4 << 20)
    opened.setsockopt(socket.IPPROTO_IP, IP_PKTINFO, 1)
    opened.bind(("", port))
    return opened


def unread_bytes(port):
    """What waits in the desk's socket of that port, None when there is no such socket."""
    found = re.search(
        rf"^ *\d+: [0-9A-F]{{8}}:{port:04X} \S+ \w\w \w+:(\w+)",
        pathlib.Path("/proc/net/udp").read_text(),
        re.MULTILINE,
    )
    return int(found[1], 16) if found else None


def desk_count(name, protocol="Udp"):
    """A counter of the desk, as /proc/net/snmp names it."""
    lines = pathlib.Path("/proc/net/snmp").read_text().splitlines()
    names, values = (line.split() for line in lines if line.startswith(f"{protocol}:"))
    return int(values[names.index(name)])


class Office:
    """Use it in a with statement. The script is called with every question (Asked), in the order of
    their arrival, and gives an iterable of answers (Send); it may be replaced at any time.

    Answers without a delay are sent at once, no faster than the program takes them. `asked` is the
    record of all questions.
    """

    def __init__(self, script=lambda asked: ()):
        self.script = script
        self.asked = []
        self._later = []
        self._numbers = itertools.count()
        self._failure = None
        self._idle = threading.Event()
        self._idle.set()
        self._stop, self._stopped = socket.socketpair()
        self._thread = threading.Thread(target=self._run, daemon=True)

    def __enter__(self):
        self._route("add")
        self._sockets = {
            open_socket(messages.SNMP_PORT): messages.read_request,
            open_socket(messages.COMMAND_PORT): messages.read_command,
        }
        self._by_port = dict(zip((messages.SNMP_PORT, messages.COMMAND_PORT), self._sockets))
        self._thread.start()
        return self

    def __exit__(self, *failure):
        self._stop.close()
        self._thread.join()
        for opened in (*self._by_port.values(), self._stopped):
            opened.close()
        self._route("del")
        if self._failure is not None:
            raise self._failure

    @staticmethod
    def _route(verb):
        for addresses in MORE_ADDRESSES:
            to_itself = ["lab-office", "ip", "route", verb, "local", addresses, "dev", "lan0"]
            to_router = ["ip", "route", verb, addresses, "via", ROUTER]
            subprocess.run(to_itself, check=True)
            subprocess.run(to_router, check=True)

    def kinds(self):
        """The kinds of all questions so far, in order."""
        return [asked.question.kind for asked in self.asked]

    def asked_for(self, *kinds):
        """The addresses that were asked questions of these kinds, in order."""
        return [asked.address for asked in self.asked if asked.question.kind in kinds]

    def close(self, port):
        """Closes a port of the scanners: from now on, what comes there is sent back by ICMP.

        Only a script may call this.
        """
        opened = self._by_port.pop(port)
        del self._sockets[opened]
        opened.close()

    def send(self, port, answers, throttled=True):
        """Sends answers to a port of the desk at once, no faster than they are read there.

        Without throttling, the desk's kernel drops what its socket has no room for.
        """
        waiting = 0
        for answer in answers:
            if answer.delay:
                due = time.monotonic() + answer.delay
                heapq.heappush(self._later, (due, next(self._numbers), port, answer))
                continue
            self._send_one(port, answer)
            waiting += 1 + len(answer.data) // 1024
            if throttled and waiting >= BURST:
                waiting = 0
                self.wait_until_read(port)

    def wait_until_idle(self, seconds=20.0):
        """Waits until every answer to what was asked is sent, except for those with a delay."""
        if not self._idle.wait(seconds):
            raise AssertionError("the scanners still answer")

    @staticmethod
    def wait_until_read(port, seconds=20.0):
        """Waits until the program has read all that was sent to its port, or closed that."""
        deadline = time.monotonic() + seconds
        while unread_bytes(port):
            if time.monotonic() > deadline:
                raise AssertionError(f"the program reads nothing from its port {port}")
            time.sleep(0.0005)

    def _send_one(self, port, answer):
        source = struct.pack("I4s4x", 0, socket.inet_aton(answer.source))
        try:
            self._by_port[answer.port].sendmsg(
                [answer.data], [(socket.IPPROTO_IP, IP_PKTINFO, source)], 0, ("10.77.0.10", port)
            )
        except ConnectionRefusedError:  # an earlier one came back
            pass

    def _run(self):
        # Scanners are machines of their own, and answer in time however busy this one is.
        with contextlib.suppress(PermissionError):
            os.setpriority(os.PRIO_PROCESS, threading.get_native_id(), MOST_URGENT)
        try:
            while self._serve():
                pass
        except BaseException as failure:  # the test has to see it
            self._failure = failure

    def _serve(self):
        """Waits for questions and due answers, and handles them; returns whether to go on."""
        wait = None
        if self._later:
            wait = max(0.0, self._later[0][0] - time.monotonic())
        ready, _, _ = select.select([*self._sockets, self._stopped], [], [], wait)
        if self._stopped in ready:
            return False
        for opened in ready:
            self._take(opened)
        while self._later and self._later[0][0] <= time.monotonic():
            _due, _number, port, answer = heapq.heappop(self._later)
            self._send_one(port, answer)
        return True

    def _take(self, opened):
        data, extra, _flags, sender = opened.recvmsg(MOST_BYTES, 64)
        question = self._sockets[opened](data)
        if question is None or sender[0] != "10.77.0.10":
            raise AssertionError(f"no question of the program, from {sender}: {data.hex()}")
        target = socket.inet_ntoa(extra[0][2][8:12])
        asked = Asked(time.time(), target, sender[1], question)
        self._idle.clear()
        self.asked.append(asked)
        self.send(sender[1], self.script(asked))
        self._idle.set()
