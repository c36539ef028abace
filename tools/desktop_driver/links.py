"""Cables between network namespaces, which carry nothing for a while after they were laid."""
import json
import subprocess

from .waiting import wait_until


def interfaces(where=()):
    """The interfaces of a network namespace by name; the words lead there (nsenter ...)."""
    listing = subprocess.run(
        [*where, "ip", "-json", "link", "show"], capture_output=True, check=True, timeout=60
    )
    return {link["ifname"]: link for link in json.loads(listing.stdout)}


WITHOUT_THE_OTHER_END = ("DOWN", "LOWERLAYERDOWN")


def is_on(link):
    return "UP" in link["flags"]


def carries(link):
    """Whether the kernel has noticed that the other end is on; until then it drops what is sent."""
    return link["operstate"] == "UP" and link["qdisc"] != "noop"


def has_settled(end, other):
    """Whether the kernel has noticed at both ends of a cable how they are."""
    if is_on(end) and is_on(other):
        return carries(end) and carries(other)
    ends_on = [link for link in (end, other) if is_on(link)]
    return all(link["operstate"] in WITHOUT_THE_OTHER_END for link in ends_on)


def wait_for_links(desk, office, pairs):
    """Waits until all cables there are have settled.

    The desk's and the office's words lead to their namespaces; the pairs are the names of both ends
    of a cable. The kernel notices in the background what is switched on and off, for one network of
    the machine after the other.
    """

    def unsettled():
        here, there = interfaces(desk), interfaces(office)
        laid = [(here[end], there[other]) for end, other in pairs if end in here and other in there]
        return [ends for ends in laid if not has_settled(*ends)]

    wait_until(lambda: not unsettled(), lambda: f"links to settle: {unsettled()}", seconds=60)
