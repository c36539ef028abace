"""script/bootstrap, with a package manager that this test plays."""
import os
import pathlib
import re
import subprocess

import pytest

BOOTSTRAP = pathlib.Path(__file__).resolve().parents[2] / "script" / "bootstrap"
GROUPS = {"build", "demo", "test", "lint", "bench", "fuzz", "package", "check", "machines"}
APT_GET = r"""#!/bin/bash
echo "$*" >>"$TMP/calls"
case " $* " in
  *" --simulate "*)
    printf 'Inst one (1 Debian)\nInst two (2 Debian)\nConf one (1 Debian)\nConf two (2 Debian)\n' ;;
  *" --print-uris "*)
    printf "'http://x/1.deb' 1.deb 3400000 SHA256:0\n'http://x/2.deb' 2.deb 1000000 SHA256:0\n" ;;
  *" update "*)
    if [ -e "$TMP/busy" ]; then
      read -r what <"$TMP/busy"; rm "$TMP/busy"; echo "$what" >&2; exit 100
    fi ;;
  *" install "*)
    if [ -e "$TMP/broken" ]; then
      echo "E: Unable to fetch some archives" >&2; exit 100
    fi
    printf 'dlstatus:1:10.5:Retrieving file 1 of 2\ndlstatus:2:80:Retrieving file 2 of 2\n' >&3
    printf 'pmstatus:libone:amd64:50.5:Unpacking\npmstatus:two:100:Installed\n' >&3
    echo "Setting up one" ;;
esac
"""
DPKG_QUERY = r"""#!/bin/bash
grep -qxF -- "${@: -1}" "$TMP/installed" && printf installed
"""
# This Debian does not have one of the programs that the benchmarks compare with.
APT_CACHE = r"""#!/bin/bash
[[ $* != *botan* ]]
"""


class Machine:
    """A machine without packages, and what was asked of its package manager."""

    def __init__(self, folder):
        self.folder = folder
        (folder / "bin").mkdir()
        for name, text in (
            ("apt-get", APT_GET),
            ("dpkg-query", DPKG_QUERY),
            ("apt-cache", APT_CACHE),
            ("id", "#!/bin/sh\necho 0\n"),
            ("sleep", "#!/bin/sh\n"),
        ):
            (folder / "bin" / name).write_text(text)
            (folder / "bin" / name).chmod(0o755)
        self.has()

    def has(self, *packages):
        (self.folder / "installed").write_text("\n".join(packages) + "\n")

    def run(self, *groups, through=()):
        environment = {"PATH": f"{self.folder}/bin:/usr/bin:/bin", "TMP": str(self.folder)}
        return subprocess.run(
            [*through, BOOTSTRAP, *groups],
            capture_output=True,
            text=True,
            check=False,
            timeout=60,
            env=environment,
            cwd=self.folder,
        )

    def calls(self):
        path = self.folder / "calls"
        return path.read_text().splitlines() if path.exists() else []

    def installed(self):
        """The packages that were installed, without recommended ones."""
        (call,) = [line for line in self.calls() if "APT::Status-Fd" in line]
        assert "--no-install-recommends" in call
        return set(call.partition(" install ")[2].split())


@pytest.fixture
def machine(tmp_path):
    return Machine(tmp_path)


def test_help_lists_the_groups(machine):
    done = machine.run("--help")
    assert (done.returncode, done.stderr) == (0, "")
    assert set(re.findall(r"^  ([a-z]+) ", done.stdout, re.MULTILINE)) == GROUPS
    assert machine.calls() == []


def test_an_unknown_group_is_refused_before_anything_is_installed(machine):
    done = machine.run("build", "everything")
    assert done.returncode == 2
    assert "no such group: everything" in done.stderr
    assert machine.calls() == []


def test_says_how_much_there_is_to_do_and_how_far_it_is(machine):
    done = machine.run("build")
    assert (done.returncode, done.stderr) == (0, "")
    assert done.stdout.splitlines() == [
        "Installing 2 packages, 4 MB to fetch",
        "Fetching: 0 %",
        "Fetching: 75 %",
        "Installing: 50 %",
        "Installing: 100 %",
    ]


def test_the_demonstration_needs_nothing_of_the_tests(machine):
    machine.run("demo")
    assert {"libgtk2.0-dev", "xvfb", "python3-gi"} <= machine.installed()
    assert not {"libgtest-dev", "tshark", "clang", "lintian", "valgrind"} & machine.installed()


def test_only_what_is_missing_is_installed(machine):
    machine.has("g++", "cmake", "ninja-build", "pkg-config", "libgtk2.0-dev", "librsvg2-bin")
    machine.run("build")
    assert machine.installed() == {"libgtest-dev", "libgmock-dev"}


def test_without_a_word_all_groups_are_installed(machine):
    machine.run()
    assert {"xvfb", "tshark", "clang-tidy", "braa", "debhelper", "gcovr"} <= machine.installed()


def test_nothing_is_asked_of_the_package_manager_when_nothing_is_missing(machine):
    machine.run("bench")
    machine.has(*machine.installed())
    (machine.folder / "calls").unlink()
    done = machine.run("bench")
    assert (done.returncode, done.stdout, done.stderr) == (0, "", "")
    assert machine.calls() == []


def test_what_this_debian_does_not_have_is_left_out(machine):
    machine.run("bench")
    assert "python3-pysnmp4" in machine.installed()
    assert "libbotan-2-dev" not in machine.installed()


@pytest.mark.parametrize(
    "error",
    [
        "E: Could not get lock /var/lib/apt/lists/lock. It is held by process 77 (packagekitd)",
        "E: Could not get lock /var/lib/dpkg/lock-frontend. It is held by process 77 (packagekitd)",
    ],
)
def test_waits_for_another_program_and_says_so_once(machine, error):
    (machine.folder / "busy").write_text(error + "\n")
    done = machine.run("build")
    assert done.returncode == 0
    assert done.stderr == "Waiting until packagekitd, process 77, is done with packages\n"
    assert len([line for line in machine.calls() if "update" in line.split()]) == 2
    assert "g++" in machine.installed()


def test_another_failure_of_the_package_manager_is_shown(machine):
    (machine.folder / "broken").touch()
    done = machine.run("build")
    assert done.returncode == 100
    assert done.stderr == "E: Unable to fetch some archives\n"


def test_a_system_that_does_not_know_localhost_learns_it(machine):
    """As a system is that debootstrap has made and no installer."""
    machine.run("test")
    machine.has(*machine.installed())
    as_root = () if os.getuid() == 0 else ("--user", "--map-root-user")
    empty_etc = 'mount -t tmpfs none /etc; "$@"; cat /etc/hosts'
    through = ("unshare", *as_root, "--mount", "sh", "-ec", empty_etc, "sh")
    hosts = "127.0.0.1 localhost\n::1 localhost\n"
    done = machine.run("test", through=through)
    assert done.stdout == "Writing /etc/hosts with localhost: there is none\n" + hosts
    assert (done.returncode, done.stderr) == (0, "")
    # Only the tests look the name up, and what is there stays as it is.
    done = machine.run("demo", through=through)
    assert "cat: /etc/hosts: No such file" in done.stderr
    assert "Writing" not in machine.run("test").stdout
