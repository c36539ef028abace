"""Settings files that hold anything but settings, and folders that do not take them."""
import os
import shutil
import socket
import subprocess

import failing
import pytest

from desktop_driver import program

MEGABYTE = 1 << 20
PAGE = os.sysconf("SC_PAGESIZE")
ALL = 'scanpath="/srv"\nocrpath="/o"\npcname="desk"\npcListUp="0"\n'
SHOWN = {"scan": "/srv", "ocr": "/o", "name": "desk", "listed": False}


def link_to(target):
    return lambda path: path.symlink_to(target)


def make_socket(path):
    with socket.socket(socket.AF_UNIX) as made:
        made.bind(str(path))


# What to make in place of the settings file, a content or a function, and what is shown then.
READING = {
    "zero bytes": (b"\0" * 4096, {}),
    "a megabyte of zero bytes before the settings": (b"\0" * MEGABYTE + ALL.encode(), {}),
    "a megabyte before the settings": ("x" * MEGABYTE + "\n" + ALL, SHOWN),
    "a megabyte of lines before the settings": ("x=y\n" * (MEGABYTE // 4) + ALL, SHOWN),
    "a megabyte behind the settings": (ALL + "x" * MEGABYTE, SHOWN),
    "a value of a megabyte": (
        f'scanpath="/{"p" * MEGABYTE}"\npcname="desk"\n',
        {"scan": "/" + "p" * 510, "name": "desk"},
    ),
    "a megabyte of quotes": ("scanpath=" + '"' * MEGABYTE, {"scan": '"' * 511}),
    "a megabyte of equals signs": ("pcname" + "=" * MEGABYTE, {}),
    "a megabyte of keys": ("scanpath" * (MEGABYTE // 8), {}),
    "no line feeds": (
        'scanpath="/a"ocrpath="/b"pcname="c"pcListUp="0"',
        {
            "scan": '/a"ocrpath="/b"pcname="c"pcListUp="0',
            "ocr": '/b"pcname="c"pcListUp="0',
            "name": "cpcListUp0",
            "listed": False,
        },
    ),
    "carriage returns for line feeds": (
        'pcname="c"\rpcListUp="0"\r',
        {"name": "cpcListUp0", "listed": False},
    ),
    "values of 600 bytes": (
        f'scanpath="{"s" * 600}"\nocrpath="{"o" * 600}"\n'
        f'pcname="{"n" * 600}"\npcListUp="{"0" * 600}"\n',
        {"scan": "s" * 511, "ocr": "o" * 511, "name": "n" * 15, "listed": True},
    ),
    "values of 600 quotes": (
        f'ocrpath="{chr(34) * 600}"\npcname="{chr(34) * 600}"\n',
        # A name of nothing but refused characters does not replace this computer's.
        {"ocr": '"' * 511},
    ),
    "every byte": (bytes(range(256)) * 64, {}),
    "formats": (
        'scanpath="%s%n%s%n"\nocrpath="%n"\npcname="%s%n%d"\n',
        {"scan": "%s%n%s%n", "ocr": "%n", "name": "%s%n%d"},
    ),
    "markup": ('ocrpath="<b>&amp;</b>"\n', {"ocr": "<b>&amp;</b>"}),
    "a pipe": (os.mkfifo, {}),
    "a socket": (make_socket, {}),
    "a device without an end": (link_to("/dev/zero"), {}),
    "a full device": (link_to("/dev/full"), {}),
    "a link to itself": (link_to("dvxtools.conf"), {}),
}
CANNOT_BE_OPENED = {"a socket", "a link to itself"}


def make(what, path):
    path.parent.mkdir(parents=True, exist_ok=True)
    if callable(what):
        what(path)
    else:
        path.write_bytes(what if isinstance(what, bytes) else what.encode())


def shown(window):
    return {
        "scan": window.scan_entry.text,
        "ocr": window.ocr_entry.text,
        "name": window.name_entry.text,
        "listed": window.list_up.checked,
    }


def defaults(**others):
    scan = str(program.scan_folder())
    return {"scan": scan, "ocr": "", "name": "lab-desk", "listed": True, **others}


def settings(scan, name="lab-desk"):
    return f'scanpath="{scan}"\nocrpath=""\npcname="{name}"\npcListUp="1"\n'


def test_contents_of_every_kind(open_windows, tmp_path):
    files = [tmp_path / str(number) / "dvxtools.conf" for number in range(len(READING))]
    for path, (what, _expected) in zip(files, READING.values()):
        make(what, path)
    windows = open_windows([{"wrapper": failing.settings_in(path.parent)} for path in files])
    results = {case: shown(window) for case, window in zip(READING, windows)}
    assert results == {case: defaults(**expected) for case, (_, expected) in READING.items()}
    errors = {case: window.tool.errors for case, window in zip(READING, windows)}
    expected = {case: failing.OPEN_ERROR * (case in CANNOT_BE_OPENED) for case in READING}
    assert errors == expected

    # Those with nothing of use in them are replaced, where there is a file to replace.
    for case, window, path in zip(READING, windows, files):
        if READING[case][1]:
            continue
        window.ok.press()
        assert window.tool.wait_for_end() == 0, case
        refused = case in CANNOT_BE_OPENED
        assert window.tool.errors == expected[case] + failing.WRITE_ERROR * refused, case
        if not callable(READING[case][0]):
            assert path.read_text() == settings(program.scan_folder()), case


class Disk:
    """A file system of a few pages on a folder that it makes."""

    def __init__(self, folder, *options):
        folder.mkdir(parents=True, exist_ok=True)
        self.folder = folder
        words = ",".join(["mode=0755", *options])
        subprocess.run(["mount", "-t", "tmpfs", "-o", words, "tmpfs", folder], check=True)

    def fill(self):
        """Leaves no page free."""
        with open(self.folder / "other", "wb", buffering=0) as other:
            with pytest.raises(OSError):
                while True:
                    other.write(bytes(PAGE))

    def unmount(self):
        subprocess.run(["umount", "--lazy", self.folder], check=True)


@pytest.fixture
def make_disk():
    made = []

    def make_it(folder, *options):
        made.append(Disk(folder, *options))
        return made[-1]

    yield make_it
    for disk in made:
        disk.unmount()


@pytest.fixture
def open_homes(open_windows, tmp_path):
    """Opens a window for each home of a dict: name to further words of its wrapper."""
    (tmp_path / "notes").mkdir()

    def open_them(homes):
        programs = []
        for name, words in homes.items():
            home = tmp_path / name
            home.mkdir(exist_ok=True)
            programs.append({"wrapper": [*failing.home_at(home, tmp_path / "notes"), *words]})
        return dict(zip(homes, open_windows(programs)))

    return open_them


def folder_of(tmp_path, name):
    return tmp_path / name / ".VeltranaDVX"


def old_file(folder):
    folder.mkdir(parents=True, exist_ok=True)
    path = folder / "dvxtools.conf"
    path.write_text('pcname="old"\n')
    return path


def test_folders_that_take_no_settings_or_not_all(open_homes, make_disk, tmp_path):
    """Nobody is told in a window, and the Apply counts."""
    homes = {}

    homes["one-page"] = []
    make_disk(folder_of(tmp_path, "one-page"), f"size={PAGE}")

    homes["full"] = []
    make_disk(folder_of(tmp_path, "full"), f"size={PAGE}").fill()

    # The file gives its page back before it is written.
    homes["full-with-old"] = []
    disk = make_disk(folder_of(tmp_path, "full-with-old"), f"size={2 * PAGE}")
    old_file(disk.folder)
    disk.fill()

    homes["no-inode"] = []
    make_disk(folder_of(tmp_path, "no-inode"), "nr_inodes=1")

    homes["read-only"] = []
    disk = make_disk(folder_of(tmp_path, "read-only"))
    old_file(disk.folder)
    subprocess.run(["mount", "-o", "remount,bind,ro", disk.folder], check=True)

    homes["closed-folder"] = program.HEED_FILE_MODES
    old_file(folder_of(tmp_path, "closed-folder")).parent.chmod(0o555)

    homes["closed-file"] = program.HEED_FILE_MODES
    old_file(folder_of(tmp_path, "closed-file")).chmod(0o444)

    homes["gone"] = homes["a-file-now"] = homes["a-link-now"] = []
    for name in ("gone", "a-file-now", "a-link-now"):
        old_file(folder_of(tmp_path, name))

    windows = open_homes(homes)
    read = {name: window.name_entry.text for name, window in windows.items()}
    new = ("one-page", "full", "no-inode")
    assert read == {name: "lab-desk" if name in new else "old" for name in homes}

    for name in ("gone", "a-file-now", "a-link-now"):
        shutil.rmtree(folder_of(tmp_path, name))
    folder_of(tmp_path, "a-file-now").write_text("mine")
    folder_of(tmp_path, "a-link-now").symlink_to("nowhere")

    before = {name: window.tool.errors for name, window in windows.items()}
    assert before == {name: failing.OPEN_ERROR * (name in new) for name in homes}
    for window in windows.values():
        window.scan_entry.type_over(str(tmp_path))
        window.wait_for_apply()
        assert window.other_windows() == []
    said = {name: window.tool.errors[len(before[name]) :] for name, window in windows.items()}
    refusing = ("no-inode", "read-only", "closed-file", "a-file-now", "a-link-now")
    assert said == {name: failing.WRITE_ERROR * (name in refusing) for name in homes}

    def left(name):
        file = folder_of(tmp_path, name) / "dvxtools.conf"
        return file.read_text() if file.exists() else None

    written, old = settings(tmp_path, "old"), 'pcname="old"\n'
    assert {name: left(name) for name in homes} == {
        "one-page": settings(tmp_path),
        "full": "",
        "full-with-old": written,
        "no-inode": None,
        "read-only": old,
        "closed-folder": written,
        "closed-file": old,
        "gone": written,
        "a-file-now": None,
        "a-link-now": None,
    }
    assert folder_of(tmp_path, "a-file-now").read_text() == "mine"

    for window in windows.values():
        window.cancel.press()
    assert {window.tool.wait_for_end() for window in windows.values()} == {0}


def test_settings_that_a_full_disk_swallowed_are_the_defaults_next_time(
    open_homes, make_disk, tmp_path
):
    disk = make_disk(folder_of(tmp_path, "full"), f"size={PAGE}")
    disk.fill()
    (disk.folder / "dvxtools.conf").touch()
    window = open_homes({"full": []})["full"]
    scan = str(tmp_path / "full" / "Veltrana" / "DVX" / "Scan")
    assert shown(window) == defaults(scan=scan)
    assert window.tool.errors == ""
    # With a page free it takes them.
    (disk.folder / "other").unlink()
    window.ok.press()
    assert window.tool.wait_for_end() == 0
    assert (disk.folder / "dvxtools.conf").read_text() == settings(scan)
