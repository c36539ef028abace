"""dvx-probe explain: staged situations, the cause that it names, and its commands, which are run."""
import probe
import pytest


@pytest.fixture
def stage(tmp_path, monkeypatch):
    """Desk and office for one test; scanners are started in that office."""
    with probe.Stage(tmp_path) as made:
        monkeypatch.setenv("PATH", made.path)
        yield made


ONE = "[scanner One]\n"
# What a desktop firewall does with what comes in.
DROPPING = """
table inet filter {
  chain input {
    type filter hook input priority 0; policy drop;
    ct state established,related accept
    iif lo accept
  }
}
"""
# The same by way of another chain, after rules that matter to others.
REJECTING = """
table inet desktop {
  chain incoming {
    type filter hook input priority 10; policy accept;
    ct state { established, related } accept
    iif lo accept
    jump others
  }
  chain others {
    icmp type echo-request accept
    tcp dport 22 accept
    reject
  }
}
"""


# What makes root special, whichever user the lab runs as.
ORDINARY = ("setpriv", "--inh-caps=-all", "--bounding-set=-all")


def firewall(stage, rules):
    stage.desk(f"nft -f - <<'RULES'\n{rules}\nRULES")


def test_all_well(stage, start_scanners):
    peers = start_scanners(ONE + "[scanner Two]\n")
    explained = stage.explain()
    assert explained.ids == ["all-well"]
    assert "leaves by eth0, from 10.77.0.10." in explained.text
    assert "255.255.255.255: 2 answers from 2 addresses." in explained.text
    known = 'Scanners would list it as "lab-desk", 10.77.0.10, 02:56:44:56:58:10.'
    assert known in explained.text
    assert "Veltrana T55  One   10.77.0.101  02:56:53:00:00:65" in explained.text
    assert peers.asked("register") == []


def test_no_interface(stage, start_scanners):
    """Its first command switches it on; the route that is gone by then is the next finding."""
    start_scanners(ONE)
    stage.desk("ip link set eth0 down")
    explained = stage.explain()
    assert explained.ids == ["no-interface"]
    assert "The interface eth0 is switched off." in explained.text
    assert explained.commands("no-interface") == ["sudo ip link set eth0 up"]
    stage.desk(explained.commands("no-interface")[0])
    explained = stage.explain()
    assert explained.ids == ["no-route"]
    stage.desk(explained.commands("no-route")[0])
    assert stage.explain().ids == ["all-well"]


def test_nothing_but_loopback(stage):
    stage.desk("ip link del eth0")
    explained = stage.explain()
    assert explained.ids == ["no-interface"]
    assert "The only network interface is the loopback" in explained.text
    assert "It has no address under which it could be registered" in explained.text


@pytest.mark.parametrize(
    "tool, command",
    [("nmcli", "device connect eth0"), ("dhclient", "eth0")],
)
def test_interface_without_an_address(stage, tool, command):
    stage.desk("ip address flush dev eth0")
    stage.provide(tool, "#!/bin/sh\nip address add 10.77.0.11/16 broadcast + dev eth0\n")
    explained = stage.explain()
    assert explained.ids == ["no-interface"]
    assert explained.commands("no-interface") == [f"sudo {tool} {command}"]
    stage.desk(explained.commands("no-interface")[0])
    assert "no-interface" not in stage.explain().ids


def test_interface_without_an_address_on_a_small_system(stage, tmp_path):
    """With the tool of such a system, and with none: then the address is the reader's to choose."""
    stage.desk("ip address flush dev eth0")
    path = f"PATH={tmp_path}/bin"
    assert stage.explain(before=("env", path)).commands("no-interface") == [
        "sudo ip address add ADDRESS/24 broadcast + dev eth0"
    ]
    stage.provide("networkctl", "#!/bin/sh\n")
    assert stage.explain(before=("env", path)).commands("no-interface") == [
        "sudo networkctl reconfigure eth0"
    ]


def test_rules_that_only_iptables_shows(stage, start_scanners):
    start_scanners(ONE)
    firewall(stage, DROPPING)
    stage.provide("nft", "#!/bin/sh\nexit 1\n")
    stage.provide("iptables-save", "#!/bin/sh\necho '*filter'\necho ':INPUT DROP [0:0]'\n")
    explained = stage.explain()
    assert explained.ids == ["firewall"]
    assert "The firewall: chain INPUT, policy DROP." in explained.text
    assert explained.commands("firewall") == [
        "sudo iptables -I INPUT -s 10.77.0.0/16 -p udp --sport 161 -j ACCEPT"
    ]


@pytest.mark.parametrize(
    "script, problem",
    [
        ("ip route del default", "Network is unreachable"),
        ("ip route replace unreachable default", "No route to host"),
        ("ip route replace prohibit default", "Permission denied"),
    ],
)
def test_no_route(stage, start_scanners, script, problem):
    start_scanners(ONE)
    stage.desk(script)
    explained = stage.explain()
    assert explained.ids == ["no-route"]
    assert f"({problem})" in " ".join(explained.text.split())
    assert "eth0 brought answers of: 10.77.0.101." in " ".join(explained.text.split())
    assert explained.commands("no-route") == ["sudo ip route replace 255.255.255.255/32 dev eth0"]
    stage.desk(explained.commands("no-route")[0])
    assert stage.explain().ids == ["all-well"]


def test_search_that_leads_to_loopback(stage, start_scanners):
    start_scanners(ONE)
    stage.desk("ip route replace 255.255.255.255/32 dev lo src 127.0.0.1")
    explained = stage.explain()
    assert explained.ids == ["no-route"]
    assert "it leads to the loopback interface" in " ".join(explained.text.split())
    stage.desk(explained.commands("no-route")[0])
    assert stage.explain().ids == ["all-well"]


@pytest.mark.parametrize(
    "rules, chain",
    [(DROPPING, "inet filter input"), (REJECTING, "inet desktop incoming")],
    ids=["by policy", "in another chain"],
)
def test_firewall(stage, start_scanners, rules, chain):
    """The broadcast's answers are dropped, those to a direct question are not."""
    start_scanners(ONE + "[scanner Two]\n")
    firewall(stage, rules)
    explained = stage.explain()
    assert explained.ids == ["firewall"]
    words = " ".join(explained.found["firewall"].split())
    assert "came in from 10.77.0.101, 10.77.0.102, but were dropped" in words
    assert "Asked directly, 10.77.0.101, 10.77.0.102 can be heard" in words
    table = chain.rpartition(" ")
    assert f"The firewall: table {table[0]}, chain {table[2]}." in words
    assert explained.commands("firewall") == [
        f"sudo nft insert rule {chain} ip saddr 10.77.0.0/16 udp sport 161 accept"
    ]
    stage.desk(explained.commands("firewall")[0])
    assert stage.explain().ids == ["all-well"]


def test_firewall_for_an_ordinary_user(stage, start_scanners):
    """Who may not look at the interfaces compares with a direct question."""
    start_scanners(ONE)
    firewall(stage, DROPPING)
    # The office knows the desk, and sends without asking for its hardware address.
    stage.office("ip neigh replace 10.77.0.10 lladdr 02:56:44:56:58:10 dev lan0 nud permanent")
    explained = stage.explain(before=ORDINARY)
    assert explained.ids == ["no-scanners"]
    assert "can be seen by root only: sudo dvx-probe explain." in " ".join(explained.text.split())
    explained = stage.explain("--address", "10.77.0.101", before=ORDINARY)
    assert explained.ids == ["firewall"]
    assert "seems to drop the answers" in explained.text
    assert explained.commands("firewall") == ["sudo dvx-probe explain"]


def test_firewall_for_an_ordinary_user_whose_neighbours_are_known(stage, start_scanners):
    """A scanner that has to ask for this computer's hardware address leaves a trace of itself."""
    start_scanners(ONE)
    firewall(stage, DROPPING)
    explained = stage.explain(before=ORDINARY)
    assert explained.ids == ["firewall"]
    assert "10.77.0.101" in explained.found["firewall"]


def test_firewalld_is_opened_by_its_own_command(stage, start_scanners):
    start_scanners(ONE)
    firewall(stage, DROPPING)
    opened = "nft insert rule inet filter input udp sport 161 accept"
    stage.provide(
        "firewall-cmd",
        f"""#!/bin/sh
case "$*" in
  --state) echo running ;;
  "--permanent --add-source-port=161/udp") touch "$0.changed" ;;
  --reload) [ -e "$0.changed" ] && {opened} ;;
  *) exit 2 ;;
esac
""",
    )
    explained = stage.explain()
    assert explained.ids == ["firewall"]
    assert "The firewall: firewalld is running." in explained.text
    for command in explained.commands("firewall"):
        stage.desk(command)
    assert stage.explain().ids == ["all-well"]


def test_firewall_that_forbids_to_broadcast(stage, start_scanners):
    start_scanners(ONE)
    rules = "table ip out { chain output { type filter hook output priority 0;"
    firewall(stage, rules + "\nip daddr 255.255.255.255 drop\n}\n}")
    explained = stage.explain()
    assert explained.ids == ["not-sent"]
    assert "a firewall does which forbids programs to broadcast" in explained.text


SECOND = """
ip link add eth1 address 02:56:44:56:58:11 type veth peer name lan1
ip link set lan1 netns {office}
ip address add 10.88.0.10/24 broadcast + dev eth1
ip link set eth1 up
"""
SECOND_OFFICE = """
ip address add 10.88.0.1/24 dev lan1
ip link set lan1 up
ip route add local 10.88.0.64/26 dev lan1
"""


@pytest.fixture
def second_interface(stage, tmp_path):
    stage.desk(SECOND.format(office=tmp_path / "office"))
    stage.office(SECOND_OFFICE)


def test_scanners_on_an_interface_that_is_not_asked(stage, second_interface, start_scanners):
    """Both networks' scanners are there; the office answers a broadcast for all its addresses."""
    peers = start_scanners("[scanner Back]\naddress = 10.88.0.70\nignore_first.discovery = 1\n")
    explained = stage.explain()
    assert explained.ids == ["other-interface"]
    assert "leaves by eth0 only. Asked on eth1, these answered: 10.88.0.70." in " ".join(
        explained.text.split()
    )
    register, route = explained.commands("other-interface")
    assert register == "dvx-probe register --all --interface eth1"
    assert 'registered as "lab-desk"' in stage.desk(register)
    assert [len(computers) for computers in peers.lists().values()] == [1]
    assert route == "sudo ip route replace 255.255.255.255/32 dev eth1"


def test_interfaces_to_ask_can_be_named(stage, second_interface, start_scanners):
    start_scanners(ONE)
    assert "10.88.0.255 on eth1" in stage.explain().text
    assert "10.88.0.255 on eth1" not in stage.explain("--interface", "eth0").text


def test_scanner_in_another_network(stage, start_scanners):
    stage.office("ip route add local 192.0.2.0/24 dev lan0")
    stage.desk("ip route add 192.0.2.0/24 via 10.77.0.1")
    peers = start_scanners("[scanner Far]\naddress = 192.0.2.20\nignore_first.discovery = 1\n")
    explained = stage.explain("--address", "192.0.2.20")
    assert explained.ids == ["other-network"]
    assert explained.commands("other-network") == ["dvx-probe register 192.0.2.20"]
    stage.desk(explained.commands("other-network")[0])
    assert [len(computers) for computers in peers.lists().values()] == [1]


def test_scanner_with_an_address_of_another_network_on_the_cable(stage, start_scanners):
    """It hears the search and answers; questions to it go to the router, which knows nobody."""
    stage.office("ip address add 192.0.2.20/24 dev lan0")
    start_scanners("[scanner Stray]\naddress = 192.0.2.20\n")
    stage.desk("ip route add blackhole 192.0.2.0/24")
    explained = stage.explain()
    assert explained.ids == ["wrong-network"]
    assert "cannot talk to them: 192.0.2.20." in " ".join(explained.text.split())
    command = explained.commands("wrong-network")[0]
    assert command == "sudo ip address add 192.0.2.250/24 broadcast + dev eth0"
    stage.desk(f"ip route del blackhole 192.0.2.0/24; {command}")
    explained = stage.explain()
    assert "Stray" in explained.text
    # It is still the other address that the scanner is told.
    assert explained.ids == ["wrong-address"]
    assert explained.commands("wrong-address") == ["sudo ip address del 10.77.0.10/16 dev eth0"]
