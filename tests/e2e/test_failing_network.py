"""Networks that are missing or odd, and those that go away while the program uses them."""
import failing
import pytest

from desktop_driver import program
from desktop_driver.main_window import NETWORK
from desktop_driver.waiting import wait_until
from desktop_driver.xwindows import run

# An interface of that name that leads nowhere.
LOOSE = """
ip link add {name} address 02:56:44:00:00:{number:02x} type veth peer name far{number}
ip address add 192.168.{number}.1/24 dev {name}
ip link set {name} up
ip link set far{number} up
"""
NO_ADDRESS = "ip address flush dev {name}\n"


def loose(name, number, more=""):
    return (LOOSE + more).format(name=name, number=number)


def twenty(first, begin):
    """Ten pairs of interfaces, which are twenty, with ten addresses."""
    return "".join(loose(f"{first}{number}", number) for number in range(begin, begin + 10))


# Links come up behind the back of the command that sets them up.
UP = "until ip link show dev {0} | grep -q 'state UP'; do sleep 0.01; done"


def to_the_office(number, name="eth0"):
    """A way to the scanners, like the lab's own, as 10.77.2.NUMBER."""
    address, far = f"10.77.2.{number}", f"desk{number}"
    mac, far_mac = (f"02:56:44:56:{kind}:{number:02x}" for kind in ("59", "5a"))
    office = (
        f"ip link set {far} up",
        f"ip route add {address}/32 dev {far}",
        f"ip neigh add {address} lladdr {mac} dev {far} nud permanent",
        UP.format(far),
    )
    return f"""
ip link add {name} address {mac} type veth \
  peer name {far} address {far_mac} netns /tmp/.lab/office
ip address add {address}/16 broadcast + dev {name}
ip link set {name} up
lab-office sh -ec "{"; ".join(office)}"
{UP.format(name)}
ip route add default via 10.77.0.1
ip neigh add 10.77.0.101 lladdr {far_mac} dev {name} nud permanent
"""


NOWHERE = {
    "lo alone": "",
    "lo alone and down": "ip link set lo down",
    "an interface without an address": loose("eth0", 1, NO_ADDRESS),
    "an interface that is down": loose("eth0", 1, "ip link set {name} down\n"),
    "an interface that leads nowhere": loose("eth0", 1),
    "no route for the broadcast": to_the_office(1) + "ip route del default",
    "a route that refuses the broadcast": to_the_office(2) + "ip route replace unreachable default",
    "twenty interfaces without the right one": twenty("eth", 1),
}


@pytest.fixture
def open_on_networks(open_windows):
    """Opens a window on the Network page for each of these networks."""

    def open_them(scripts):
        wrappers = [failing.network(script) for script in scripts]
        windows = open_windows([{"wrapper": wrapper} for wrapper in wrappers])
        for window in windows:
            window.show_page(NETWORK)
        return windows

    return open_them


def change(window, script):
    """Runs a script in the network of a running program."""
    run("nsenter", f"--net=/proc/{window.tool.process.pid}/ns/net", "sh", "-ec", script)


def search_all(windows):
    for window in windows:
        window.begin_search()
    for window in windows:
        window.wait_for_no_dialog()


def test_without_a_way_to_the_scanners(open_on_networks, start_scanners):
    peers = start_scanners(1)
    windows = open_on_networks(NOWHERE.values())
    rows = {case: window.devices.rows() for case, window in zip(NOWHERE, windows)}
    assert rows == {case: [] for case in NOWHERE}
    search_all(windows)
    rows = {case: window.devices.rows() for case, window in zip(NOWHERE, windows)}
    assert rows == {case: [] for case in NOWHERE}
    assert peers.log() == []
    for window in windows:
        window.ok.press()
    assert [window.tool.wait_for_end() for window in windows] == [0] * len(windows)
    errors = {case: window.tool.errors for case, window in zip(NOWHERE, windows)}
    assert errors == {case: failing.OPEN_ERROR for case in NOWHERE}
    assert 'pcname="lab-desk"\n' in program.settings_file().read_text()


# With each network what a scanner is told about this computer: its addresses.
OWN = "10.77.2.{0} 02:56:44:56:59:{0:02x}"
FIRST_LOOSE = "192.168.{0}.1 02:56:44:00:00:{0:02x}"
KNOWN_AS = {
    "twenty more interfaces behind it": (to_the_office(11) + twenty("eth", 1), OWN.format(11)),
    "one more before it": (loose("wlan0", 1) + to_the_office(12), FIRST_LOOSE.format(1)),
    "one that is down before it": (
        loose("wlan0", 2, "ip link set {name} down\n") + to_the_office(13),
        FIRST_LOOSE.format(2),
    ),
    "one without an address before it": (
        loose("wlan0", 1, NO_ADDRESS) + to_the_office(14),
        OWN.format(14),
    ),
    "twenty more before it": (twenty("net", 3) + to_the_office(15), FIRST_LOOSE.format(3)),
    "one that begins with lo before it": (
        loose("lowpan0", 1) + to_the_office(16),
        OWN.format(16),
    ),
    "a name that begins with lo itself": (
        to_the_office(17, "local0"),
        "0.0.0.0 00:00:00:00:00:00",
    ),
    # The list has room for sixteen, and these are lo's.
    "more addresses of lo than the list holds": (
        "".join(f"ip address add 10.1.1.{n}/32 dev lo label lo:{n}\n" for n in range(1, 21))
        + to_the_office(18),
        "0.0.0.0 00:00:00:00:00:00",
    ),
}


def record(packet):
    """The name, and the two addresses, of a register command."""
    data = bytes.fromhex(packet)[20:]
    address, mac = ".".join(map(str, data[:4])), data[20:26].hex(":")
    return data[4:20].rstrip(b"\0").decode(), f"{address} {mac}"


def test_which_interface_a_scanner_is_told(open_on_networks, start_scanners):
    peers = start_scanners(1)
    windows = open_on_networks(script for script, _known in KNOWN_AS.values())
    assert [len(window.devices.rows()) for window in windows] == [1] * len(windows)
    for number, window in enumerate(windows):
        window.name_entry.type_over(f"desk-{number}")
        window.wait_for_apply()
    told = dict(record(entry["hex"]) for entry in peers.asked("register"))
    known = [known for _script, known in KNOWN_AS.values()]
    assert told == {f"desk-{number}": addresses for number, addresses in enumerate(known)}


LOSSES = {
    "no address": "ip address flush dev eth0",
    "interface down": "ip link set eth0 down",
    "interface gone": "ip link del eth0",
    "no route": "ip route flush dev eth0",
}


def test_network_lost_in_the_middle_of_a_search(open_on_networks, start_scanners):
    quick = start_scanners("[scanner Slow]\n")
    losses = {**LOSSES, "no default route": "ip route del default"}
    windows = open_on_networks(to_the_office(21 + number) for number in range(len(losses)))
    assert [window.scanner_names() for window in windows] == [["Slow"]] * len(windows)
    quick.stop()
    # Slow enough for the first search to be on when the last one has begun.
    delays = "".join(f"delay.{question} = 2700\n" for question in ("model", "vendor", "name"))
    peers = start_scanners("[scanner Slow]\n" + delays)
    for window in windows:
        window.begin_search()
    wait_until(lambda: len(peers.asked("model")) == len(windows), "the questions")
    for window, script in zip(windows, losses.values()):
        change(window, script)
    for window in windows:
        window.wait_for_no_dialog()
    names = {case: window.scanner_names() for case, window in zip(losses, windows)}
    # The way to the scanner itself does not go through the default route.
    assert names == {**{case: [] for case in LOSSES}, "no default route": ["Slow"]}
    search_all(windows)
    assert [window.scanner_names() for window in windows] == [[]] * len(windows)


@pytest.mark.parametrize("listed, begin", [(True, 31), (False, 41)])
def test_network_lost_before_apply(open_on_networks, start_scanners, listed, begin):
    """The user is not told, and the settings are written."""
    peers = start_scanners(1)
    windows = open_on_networks(to_the_office(begin + number) for number in range(len(LOSSES)))
    for window, script in zip(windows, LOSSES.values()):
        assert len(window.devices.rows()) == 1
        change(window, script)
        window.name_entry.type_over("front-desk")
        if not listed:
            window.list_up.press()
    for window in windows:
        window.apply.press()
    for window in windows:
        wait_until(lambda: not window.apply.sensitive, "Apply to be done", 60)
        assert window.other_windows() == []
        assert window.tool.errors.replace(failing.OPEN_ERROR, "") == ""
    flag = int(listed)
    assert f'pcname="front-desk"\npcListUp="{flag}"\n' in program.settings_file().read_text()
    assert peers.log(protocol="registration") == []
