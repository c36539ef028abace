"""The private network that everything else is tested in: script/lab."""
import pathlib
import pwd
import os
import shutil
import signal
import subprocess
import sys
import tempfile

import pytest

TOP = pathlib.Path(__file__).resolve().parents[2]
sys.path.insert(0, str(TOP / "tools"))

from desktop_driver.waiting import wait_until  # noqa: E402  (needs the line above)

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
def test_command_starts_when_both_ends_of_the_link_have_noticed_each_other(tmp_path, qdisc, state):
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


# --- machines that have no lab --------------------------------------------------------------------


def can_make_users():
    """Not in a chroot: there the kernel refuses user namespaces to everybody."""
    words = ["unshare", "--user", "--map-root-user", "true"]
    return subprocess.run(words, capture_output=True, check=False).returncode == 0


USERS = can_make_users()
if USERS:
    # Root of a user namespace, so that these tests need no root; and an ordinary user in it.
    AS_ROOT = ("unshare", "--user", "--map-root-user", "--mount")
    AS_USER = ("unshare", "--user", "--map-user=1000", "--map-group=1000")
else:
    # Root itself; and an ordinary user who may read the tree wherever it is.
    AS_ROOT = ("unshare", "--mount")
    READS = "+dac_read_search"
    AS_USER = (
        "setpriv",
        "--reuid=1000",
        "--clear-groups",
        f"--inh-caps={READS}",
        f"--ambient-caps={READS}",
    )

# Runs a command with a filter, like those of containers, that refuses the system call unshare.
FILTER = """
import ctypes, os, struct, sys
LOAD, EQUAL, RETURN, ALLOW, EPERM = 0x20, 0x15, 0x06, 0x7FFF0000, 0x00050001
NUMBER = {"x86_64": 272, "i686": 310, "aarch64": 97, "s390x": 303}[os.uname().machine]
rules = ((LOAD, 0, 0, 0), (EQUAL, 0, 1, NUMBER), (RETURN, 0, 0, EPERM), (RETURN, 0, 0, ALLOW))
packed = ctypes.create_string_buffer(b"".join(struct.pack("HBBI", *rule) for rule in rules))
program = ctypes.create_string_buffer(struct.pack("HP", 4, ctypes.addressof(packed)))
libc = ctypes.CDLL(None, use_errno=True)
NO_NEW_PRIVS, SECCOMP = 38, 22
assert libc.prctl(NO_NEW_PRIVS, 1, 0, 0, 0) == 0
assert libc.prctl(SECCOMP, 2, program) == 0, os.strerror(ctypes.get_errno())
os.execvp(sys.argv[1], sys.argv[1:])
"""
FILTERED = ("/usr/bin/python3", "-c", FILTER)


def refusal(*words, **options):
    """What the lab says that is run by these words; it must not run anything."""
    command = [*words, LAB, "--", "echo", "it runs"]
    done = subprocess.run(
        command, capture_output=True, text=True, timeout=60, check=False, **options
    )
    assert (done.returncode, done.stdout) == (2, ""), done
    return done.stderr


def refusal_after(setting, *as_user, said):
    """What the lab says when a setting of the machine keeps it from making namespaces.

    Where no user namespace holds the setting for these tests alone, nobody changes it: a tool in
    the way of unshare says what unshare then says.
    """
    if USERS:
        return refusal(*AS_ROOT, "sh", "-ec", f'{setting}; exec "$@"', "sh", *as_user)
    with tempfile.TemporaryDirectory() as folder:  # not in a folder that is root's alone
        tool = pathlib.Path(folder, "unshare")
        tool.write_text(f"#!/bin/sh\necho 'unshare: {said}' >&2\nexit 1\n")
        tool.chmod(0o755)
        tool.parent.chmod(0o755)
        environment = {**os.environ, "PATH": f"{folder}:{os.environ['PATH']}"}
        return refusal(*as_user, env=environment)


def with_setting(name, value):
    """Words that put a setting of the kernel in place of all those beside it."""
    script = f"mount -t tmpfs none /proc/sys/kernel; echo {value} >/proc/sys/kernel/{name}"
    return (*AS_ROOT, "sh", "-ec", f'{script}; exec "$@"', "sh")


@pytest.mark.parametrize(
    "setting, text",
    [
        (
            ("unprivileged_userns_clone", 0),
            "ordinary users may not make user namespaces"
            " (sudo sysctl kernel.unprivileged_userns_clone=1), or run it as root",
        ),
        (
            ("apparmor_restrict_unprivileged_userns", 1),
            "AppArmor keeps ordinary users from using user namespaces"
            " (sudo sysctl kernel.apparmor_restrict_unprivileged_userns=0), or run it as root",
        ),
        (
            ("unprivileged_userns_clone", 1),
            "ordinary users may not make user namespaces in this container"
            " (start it with --security-opt seccomp=unconfined)",
        ),
    ],
)
def test_ordinary_user_without_user_namespaces_is_told_why(setting, text):
    assert refusal(*with_setting(*setting), *AS_USER, *FILTERED) == f"lab: {text}\n"


def test_limit_of_user_namespaces_is_told():
    setting = "echo 1 >/proc/sys/user/max_user_namespaces"
    said = "unshare failed: No space left on device"
    assert refusal_after(setting, *AS_USER, said=said) == (
        "lab: the kernel allows no more user namespaces"
        " (sudo sysctl user.max_user_namespaces=10000), or run it as root\n"
    )


def test_limit_of_other_namespaces_is_told():
    setting = "echo 0 >/proc/sys/user/max_net_namespaces"
    said = "unshare failed: No space left on device"
    assert refusal_after(setting, said=said) == (
        "lab: the kernel allows no more namespaces of some kind"
        " (sudo sysctl user.max_{mnt,net,pid,uts}_namespaces=10000)\n"
    )


def test_filter_of_a_container_is_told():
    assert refusal(*AS_ROOT, *FILTERED) == (
        "lab: the seccomp filter of this container forbids new namespaces"
        " (start it with --security-opt seccomp=unconfined)\n"
    )


@pytest.mark.parametrize("capability", ["sys_admin", "net_admin"])
def test_root_without_the_powers_of_one_is_told(capability):
    drop = ("setpriv", f"--bounding-set=-{capability}", f"--inh-caps=-{capability}")
    text = (
        "lab: root may not administer this container's system and network"
        " (start it with --cap-add SYS_ADMIN --cap-add NET_ADMIN, or --privileged)\n"
    )
    assert refusal(*AS_ROOT, *drop) == text


def test_hidden_parts_of_proc_are_told():
    setting = "mount -t tmpfs none /proc/sys"
    said = "mount /proc failed: Operation not permitted"
    assert refusal_after(setting, *(AS_ROOT if USERS else ()), said=said) == (
        "lab: /proc cannot be mounted: parts of it are hidden in this container"
        " (start it with --privileged)\n"
    )


def test_machine_without_linked_interfaces_is_told(tmp_path):
    tool = tmp_path / "ip"
    real = shutil.which("ip")
    tool.write_text(f'#!/bin/sh\n[ "$1 $2" != "link add" ] || exit 2\nexec {real} "$@"\n')
    tool.chmod(0o755)
    environment = {**os.environ, "PATH": f"{tmp_path}:{os.environ['PATH']}"}
    done = lab("--keep", str(tmp_path), "--", "echo", "it runs", env=environment)
    assert (done.returncode, done.stdout) == (2, "")
    assert done.stderr == (
        "lab: no pair of linked network interfaces can be made (sudo modprobe veth)\n"
    )


# A root folder made of the machine's own, which is no mount point unless it is made one.
CHROOT = """
root=$1 parts=$2
shift 2
case $parts in *root*) mount --bind "$root" "$root" ;; esac
mkdir -p "$root/dev" "$root/proc" "$root/sys" "$root/tmp" "$root/root" "$root$TOP"
for part in bin sbin lib lib32 lib64 usr etc; do
  if [ -L "/$part" ]; then
    cp --no-dereference "/$part" "$root/$part"
  elif [ -d "/$part" ]; then
    mkdir "$root/$part"
    mount --rbind "/$part" "$root/$part"
  fi
done
mount --bind "$TOP" "$root$TOP"
for part in dev proc; do
  case $parts in *$part*) mount --rbind "/$part" "$root/$part" ;; esac
done
exec chroot "$root" "$@"
"""


def in_chroot(folder, parts):
    inner = ("env", f"TOP={TOP}", "sh", "-ec", CHROOT, "sh", str(folder), parts)
    return (*AS_ROOT, *inner)


@pytest.mark.parametrize(
    "parts, text",
    [
        (
            "dev proc",
            "the root folder is no mount point, as in a plain chroot"
            " (outside of it: mount --bind ROOT ROOT, and chroot again)",
        ),
        ("root dev", "/proc is not mounted (mount -t proc proc /proc)"),
        (
            "root proc",
            "there are no devices in /dev (outside of the chroot: mount --rbind /dev ROOT/dev)",
        ),
    ],
)
def test_chroot_that_is_half_set_up_is_told_what_it_lacks(tmp_path, parts, text):
    assert refusal(*in_chroot(tmp_path, parts)) == f"lab: {text}\n"


def test_chroot_that_is_set_up_has_a_lab_even_without_sys(tmp_path):
    command = [*in_chroot(tmp_path, "root dev proc"), LAB, "--", "hostname"]
    done = subprocess.run(command, capture_output=True, text=True, timeout=60, check=False)
    assert (done.returncode, done.stdout, done.stderr) == (0, "lab-desk\n", "")


# --- its files ------------------------------------------------------------------------------------


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
        wait_until(lambda: len(processes_with(word)) >= 4, "the command to run", seconds=60)
        running.send_signal(number)
        running.wait(timeout=30)
        wait_until(lambda: not processes_with(word), "the end of all that ran", seconds=60)
