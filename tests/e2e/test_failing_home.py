"""Home folders that are missing or take nothing, and things in the way of the default folder."""
import os
import shutil
import subprocess

import failing
import pytest

from desktop_driver import program

SCAN_MESSAGE = "Save to : The specified path doesn't exist."


def nothing(_home):
    """No home at all."""


def empty(home):
    home.mkdir()


def a_file(home):
    home.write_text("")


def a_link_to_itself(home):
    home.symlink_to(home)


def read_only(home):
    home.mkdir()
    subprocess.run(["mount", "-t", "tmpfs", "-o", "ro", "tmpfs", home], check=True)


def without_an_inode(home):
    home.mkdir()
    subprocess.run(["mount", "-t", "tmpfs", "-o", "nr_inodes=1", "tmpfs", home], check=True)


def closed(home):
    home.mkdir(mode=0o555)


def not_to_be_searched(home):
    home.mkdir(mode=0o000)


def holding(path, make=a_file):
    """A home with something in the way, and otherwise in order."""

    def make_it(home):
        (home / path).parent.mkdir(parents=True)
        make(home / path)

    return make_it


# How each home is made, and whether settings can be written to it.
HOMES = {
    "missing": (nothing, False),
    "a file": (a_file, False),
    "a link to itself": (a_link_to_itself, False),
    "read-only": (read_only, False),
    "full": (without_an_inode, False),
    "closed": (closed, False),
    "not to be searched": (not_to_be_searched, False),
    "Veltrana is a file": (holding("Veltrana"), True),
    "Veltrana is a link to nowhere": (
        holding("Veltrana", lambda path: path.symlink_to("nowhere")),
        True,
    ),
    "Veltrana is read-only": (holding("Veltrana", closed), True),
    "DVX is a file": (holding("Veltrana/DVX"), True),
    "DVX is a pipe": (holding("Veltrana/DVX", os.mkfifo), True),
    "Scan is read-only": (holding("Veltrana/DVX/Scan", read_only), True),
}


@pytest.fixture
def folders(tmp_path):
    """A folder for the homes and one for notes; whatever is mounted there goes away again."""
    homes, notes = tmp_path / "homes", tmp_path / "notes"
    homes.mkdir()
    notes.mkdir()
    yield homes, notes
    for line in open("/proc/mounts", encoding="utf-8").readlines():
        place = line.split()[1].replace("\\040", " ")
        if place.startswith(f"{homes}/"):
            subprocess.run(["umount", "--lazy", place], check=True)


def test_homes_that_do_not_take_the_default_folder(open_windows, folders, tmp_path):
    """The program runs, refuses the folder that it could not make, and takes another one."""
    homes, notes = folders
    programs = []
    for name, (make, _writable) in HOMES.items():
        make(homes / name)
        wrapper = [*failing.home_at(homes / name, notes), *program.HEED_FILE_MODES]
        programs.append({"wrapper": wrapper})
    windows = dict(zip(HOMES, open_windows(programs)))

    for name, window in windows.items():
        scan = str(homes / name / "Veltrana" / "DVX" / "Scan")
        assert window.scan_entry.text == scan
        assert window.name_entry.text == "lab-desk"
        assert window.tool.errors == failing.OPEN_ERROR, name
        window.ok.press()
    for name, window in windows.items():
        box = window.wait_for_dialog("alert")
        assert [label.name for label in box.all("label") if label.showing] == [SCAN_MESSAGE]
        box.find("push button").press()
        window.wait_for_no_dialog()
        # Not the folder of the test, which the program may not write to as an ordinary user.
        window.scan_entry.type_over(str(tmp_path))
        window.ok.press()
    for name, (_make, writable) in HOMES.items():
        assert windows[name].tool.wait_for_end() == 0, name
        lost = "" if writable else failing.WRITE_ERROR
        assert windows[name].tool.errors == failing.OPEN_ERROR + lost, name
        if writable:
            written = (homes / name / ".VeltranaDVX" / "dvxtools.conf").read_text()
            assert written.startswith(f'scanpath="{tmp_path}"\n'), name


def test_file_named_like_the_default_folder_passes_for_it(open_windows, folders):
    """That it can be written to is all that counts."""
    homes, notes = folders
    holding("Veltrana/DVX/Scan")(homes / "home")
    (window,) = open_windows([{"wrapper": failing.home_at(homes / "home", notes)}])
    window.ok.press()
    assert window.tool.wait_for_end() == 0
    assert window.tool.errors == failing.OPEN_ERROR
    assert (homes / "home" / "Veltrana" / "DVX" / "Scan").read_text() == ""


def test_home_that_goes_away(open_windows, folders, tmp_path):
    homes, notes = folders
    (homes / "home").mkdir()
    (window,) = open_windows([{"wrapper": failing.home_at(homes / "home", notes)}])
    shutil.rmtree(homes / "home")
    window.ok.press()
    window.wait_for_dialog("alert").find("push button").press()
    window.wait_for_no_dialog()
    window.scan_entry.type_over(str(tmp_path))
    window.wait_for_apply()
    assert window.tool.errors == failing.OPEN_ERROR + failing.WRITE_ERROR
    # It comes back, as a network drive does.
    (homes / "home").mkdir()
    window.ok.press()
    assert window.tool.wait_for_end() == 0
    written = (homes / "home" / ".VeltranaDVX" / "dvxtools.conf").read_text()
    assert written.startswith(f'scanpath="{tmp_path}"\n')
