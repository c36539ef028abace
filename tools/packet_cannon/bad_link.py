"""A bad cable between the desk and the office: it loses, doubles, delays and reorders packets.

A relay in a network namespace between the two, so that neither of them knows of it and every kernel
can do it. Its random numbers come from a seed.
"""
import heapq
import itertools
import random
import select
import socket
import struct
import subprocess
import threading
import time
from typing import NamedTuple

from desktop_driver.links import wait_for_links

from .office import OFFICE, in_namespace

WIRE = "/tmp/.lab/wire"
OFFICE_MAC = "02:56:44:56:58:01"
DESK_MAC = "02:56:44:56:58:10"

SOL_PACKET = 263
PACKET_VNET_HDR = 15
PACKET_IGNORE_OUTGOING = 23
ETH_P_ALL = 3
VNET_HEADER = 10
MOST_BYTES = 65536 + VNET_HEADER

# The office's end of the lab's own cable goes to the relay, and the office gets the end of another
# one, with the addresses that script/lab gives it.
LAY = f"""
touch {WIRE}
unshare --net={WIRE} true
lab-office ip link set lan0 netns {WIRE}
nsenter --net={WIRE} -- sh -ec '
  echo 1 >/proc/sys/net/ipv6/conf/all/disable_ipv6
  echo 1 >/proc/sys/net/ipv6/conf/default/disable_ipv6
  ip link set lan0 name desk0
  ip link add office0 type veth peer name lan0 address {OFFICE_MAC} netns {OFFICE}
  ip link set desk0 up
  ip link set office0 up'
lab-office sh -ec '
  ip address add 10.77.0.1/16 dev lan0
  ip link set lan0 up
  ip neigh add 10.77.0.10 lladdr {DESK_MAC} dev lan0 nud permanent
  for range in 10.77.0.64/26 10.77.0.128/25 10.77.1.0/24; do
    ip route add local $range dev lan0
  done'
"""


class Faults(NamedTuple):
    """What the cable does to each IP packet: probabilities, and the most seconds of delay."""

    loss: float = 0.0
    twice: float = 0.0
    delay: float = 0.0


class Passed(NamedTuple):
    """A UDP datagram at the desk's end of the cable."""

    to_desk: bool
    source: str
    source_port: int
    target: str
    target_port: int
    data: bytes


def read_frame(to_desk, frame):
    """The datagram in an Ethernet frame, None when there is none or not all of one."""
    if frame[12:14] != b"\x08\x00" or frame[23] != 17 or frame[20:22] not in (b"\0\0", b"\x40\0"):
        return None
    at = 14 + 4 * (frame[14] & 15)
    source_port, target_port, size = struct.unpack("!HHH", frame[at : at + 6])
    source, target = (socket.inet_ntoa(frame[begin : begin + 4]) for begin in (26, 30))
    return Passed(to_desk, source, source_port, target, target_port, frame[at + 8 : at + size])


def open_end(interface):
    """A socket for all frames that come out of an end of the cable, with their checksum notes."""
    with in_namespace(WIRE):
        opened = socket.socket(socket.AF_PACKET, socket.SOCK_RAW, socket.htons(ETH_P_ALL))
    opened.setsockopt(SOL_PACKET, PACKET_VNET_HDR, 1)
    opened.setsockopt(SOL_PACKET, PACKET_IGNORE_OUTGOING, 1)
    opened.setsockopt(socket.SOL_SOCKET, socket.SO_RCVBUF, 4 << 20)
    opened.bind((interface, ETH_P_ALL))
    return opened


class BadLink:
    """Lies between desk and office from its making on, to the end of the lab.

    `faults` may be replaced at any time. `passed` is the record of what the desk sent, before
    anything happened to it, and of what it was given, in this order.
    """

    def __init__(self, seed):
        subprocess.run(["sh", "-ec", LAY], check=True)
        wire = ("nsenter", f"--net={WIRE}", "--")
        wait_for_links((), wire, [("eth0", "desk0")])
        wait_for_links(("lab-office",), wire, [("lan0", "office0")])
        self.faults = Faults()
        self.passed = []
        self.counts = {"lost": 0, "doubled": 0, "passed": 0}
        self._random = random.Random(seed)
        self._desk, self._office = open_end("desk0"), open_end("office0")
        self._later = []
        self._numbers = itertools.count()
        threading.Thread(target=self._run, daemon=True).start()

    def _run(self):
        while True:
            wait = max(0.0, self._later[0][0] - time.monotonic()) if self._later else None
            ready, _, _ = select.select([self._desk, self._office], [], [], wait)
            for end in ready:
                self._take(end, end.recv(MOST_BYTES))
            while self._later and self._later[0][0] <= time.monotonic():
                _due, _number, end, frame = heapq.heappop(self._later)
                self._pass_on(end, frame)

    def _take(self, end, frame):
        to_desk = end is self._office
        if not to_desk:
            self._note(to_desk, frame)
        other = self._desk if to_desk else self._office
        if frame[VNET_HEADER + 12 : VNET_HEADER + 14] != b"\x08\x00":
            self._pass_on(other, frame)
            return
        if self._random.random() < self.faults.loss:
            self.counts["lost"] += 1
            return
        doubled = self._random.random() < self.faults.twice
        self.counts["doubled"] += doubled
        for _ in range(1 + doubled):
            due = time.monotonic() + self._random.uniform(0, self.faults.delay)
            heapq.heappush(self._later, (due, next(self._numbers), other, frame))

    def _pass_on(self, end, frame):
        if end is self._desk:
            self._note(True, frame)
        self.counts["passed"] += 1
        end.send(frame)

    def _note(self, to_desk, frame):
        datagram = read_frame(to_desk, frame[VNET_HEADER:])
        if datagram is not None:
            self.passed.append(datagram)
