"""The private network that everything else is tested in: script/lab."""
import pathlib
import pwd
import os
import shutil
import signal
import subprocess
import time

import pytest

TOP = pathlib.Path(__file__).resolve().parents[2]
LAB = str(TOP / "script" / "lab")


def lab(*arguments, **options):
    """Runs script/lab to its end and gives the finished process."""
    return subprocess.run(
        [LAB, *arguments], capture_output=True, text=True, timeout=60, check=False, **options
    )


def output(*arguments, **options):
    finished = lab(*arguments, **options)
    assert finished.returncode == 0, finished.stderr
    return finished.stdout


def processes_with(word):
    """The ids of the processes that have this word on their command line."""
    found = []
    for entry in pathlib.Path("/proc").glob("[0-9]*/cmdline"):
        try:
            if word.encode() in entry.read_bytes().split(b"\0"):
                found.append(int(entry.parent.name))
        except OSError:  # it has ended meanwhile
            continue
    return found


def test_exit_status_is_that_of_the_command():
    assert lab("--", "sh", "-c", "exit 7").returncode == 7
    assert lab("true").returncode == 0


def test_mistakes_are_named_and_exit_with_2():
    for arguments, message in [
        (["--bogus", "true"], "lab: unknown option: --bogus"),
        ([], "lab: no command"),
        (["--keep", "/no/such/folder", "true"], "lab: --keep: not a folder: /no/such/folder"),
    ]:
        finished = lab(*arguments)
        assert finished.returncode == 2
        assert finished.stderr.startswith(message)


def test_network_is_one_link_with_fixed_addresses_and_a_default_route():
    names = output("--", "sh", "-c", "ls /proc/sys/net/ipv4/conf").split()
    assert sorted(names) == ["all", "default", "eth0", "lo"]
    link = output("--", "ip", "-oneline", "address", "show", "eth0")
    assert "inet 10.77.0.10/16 brd 10.77.255.255" in link
    assert "link/ether 02:56:44:56:58:10" in output("--", "ip", "link", "show", "eth0")
    assert output("--", "ip", "route").startswith("default via 10.77.0.1 dev eth0")


def test_addresses_of_the_office_are_never_asked_for():
    lines = output("--", "ip", "neigh", "show", "dev", "eth0").splitlines()
    assert len(lines) == 448
    assert all("lladdr 02:56:44:56:58:01 PERMANENT" in line for line in lines)
    assert {"10.77.0.64", "10.77.0.255", "10.77.1.0"} < {line.split()[0] for line in lines}
    assert output("--", "hostname") == "lab-desk\n"


def test_office_takes_what_is_sent_to_scanners_and_to_all():
    receive = (
        "import socket; s = socket.socket(socket.AF_INET, socket.SOCK_DGRAM);"
        "s.settimeout(20); s.bind(('', 9999)); open('/tmp/ready', 'w').close();"
        "print([s.recvfrom(100) for _ in range(3)])"
    )
    send = (
        "import socket; s = socket.socket(socket.AF_INET, socket.SOCK_DGRAM);"
        "s.setsockopt(socket.SOL_SOCKET, socket.SO_BROADCAST, 1); s.bind(('', 8888));"
        "[s.sendto(a.encode(), (a, 9999)) for a in"
        " ('10.77.0.101', '10.77.1.7', '255.255.255.255')]"
    )
    script = (
        f'lab-office /usr/bin/python3 -c "{receive}" & '
        f"while [ ! -e /tmp/ready ]; do sleep 0.01; done; "
        f'/usr/bin/python3 -c "{send}"; wait'
    )
    sender = ("10.77.0.10", 8888)
    expected = [(to, sender) for to in (b"10.77.0.101", b"10.77.1.7", b"255.255.255.255")]
    assert output("--", "sh", "-c", script) == f"{expected}\n"


# Stands in front of ip: the first looks at eth0 find it without a link.
LATE_LINK = """#!/bin/sh
if [ "$*" = "link show dev eth0" ]; then
  echo look >>{folder}/looks
  if [ $(wc -l <{folder}/looks) -le 3 ]; then
    echo "2: eth0@if2: <NO-CARRIER,BROADCAST,MULTICAST,UP> mtu 1500 qdisc {qdisc} state {state}"
    exit
  fi
fi
exec {ip} "$@"
"""


@pytest.mark.parametrize("qdisc, state", [("noqueue", "LOWERLAYERDOWN "), ("noop", "UP ")])
def test_command_starts_when_both_ends_of_the_link_have_noticed_each_other(
    tmp_path, qdisc, state
):
    """What is sent before is lost."""
    tool = tmp_path / "ip"
    tool.write_text(
        LATE_LINK.format(folder=tmp_path, qdisc=qdisc, state=state, ip=shutil.which("ip"))
    )
    tool.chmod(0o755)
    environment = {**os.environ, "PATH": f"{tmp_path}:{os.environ['PATH']}"}
    look = "cat looks; ip link show dev eth0; lab-office ip link show dev lan0"
    words = ["--keep", str(tmp_path), "--", "sh", "-c", look]
    seen = output(*words, env=environment, cwd=tmp_path)
    assert seen.count("look\n") == 4
    assert seen.count(" qdisc noqueue state UP ") == 2


def test_files_are_private_and_vanish():
    home = pwd.getpwuid(os.getuid()).pw_dir if os.getuid() == 0 else "/root"
    places = [home, "/tmp", "/usr/local/share/veltrana"]
    mark = f"lab-test-{os.getpid()}"
    # The source tree stays visible, wherever it is; nothing else does.
    script = "for d; do ls -A $d; done; for d; do touch $d/" + mark + " || exit 1; done"
    listed = set(output("--", "sh", "-c", script, "sh", *places).split())
    assert listed <= {".lab", *TOP.parts}
    assert not any(pathlib.Path(place, mark).exists() for place in places)


def test_kept_folder_is_the_real_one(tmp_path):
    (tmp_path / "before").touch()
    listing = output("--keep", str(tmp_path), "--", "ls", str(tmp_path))
    assert listing == "before\n"
    output("--keep", str(tmp_path), "--", "touch", str(tmp_path / "after"))
    assert (tmp_path / "after").exists()


def test_this_desktops_session_is_out_of_reach():
    environment = {**os.environ, "DISPLAY": ":77", "DBUS_SESSION_BUS_ADDRESS": "unix:path=/no"}
    script = "echo ${DISPLAY-none} ${DBUS_SESSION_BUS_ADDRESS-none} $HOME"
    words = output("--", "sh", "-c", script, env=environment).split()
    assert words[:2] == ["none", "none"]


def test_display_has_a_window_manager():
    assert output("--display", "--", "wmctrl", "-m").startswith("Name: Openbox\n")


def test_accessibility_bus_answers():
    script = "import pyatspi; print(pyatspi.Registry.getDesktop(0).childCount)"
    assert output("--accessibility", "--", "/usr/bin/python3", "-c", script) == "0\n"


def test_stopping_it_ends_everything_in_it():
    for number in (signal.SIGINT, signal.SIGTERM, signal.SIGHUP, signal.SIGKILL):
        word = f"9{os.getpid()}{int(number)}"
        running = subprocess.Popen([LAB, "--display", "--", "sleep", word])
        deadline = time.monotonic() + 30
        while len(processes_with(word)) < 4 and time.monotonic() < deadline:
            time.sleep(0.02)
        assert processes_with(word), "the command does not run"
        running.send_signal(number)
        running.wait(timeout=30)
        while processes_with(word) and time.monotonic() < deadline:
            time.sleep(0.02)
        assert not processes_with(word)
