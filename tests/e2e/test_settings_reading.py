"""The settings file as the program reads it at its start."""
import pytest

from desktop_driver import program

OPEN_ERROR = "void CMainTabs::ReadFile(): Setting File open Error\n"


def store(content):
    file = program.settings_file()
    file.parent.mkdir(exist_ok=True)
    file.write_bytes(content if isinstance(content, bytes) else content.encode())


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


READING = {
    "all values": (
        'scanpath="/srv/in"\nocrpath="/opt/ocr"\npcname="desk-7"\npcListUp="0"\n',
        {"scan": "/srv/in", "ocr": "/opt/ocr", "name": "desk-7", "listed": False},
    ),
    "another order and other lines": (
        '# mine\npcListUp="0"\n\nfoo="bar"\npcname="desk-7"\n',
        {"name": "desk-7", "listed": False},
    ),
    "upper and mixed case": (
        'SCANPATH="/srv/in"\nOcrPath="/opt/ocr"\nPCNAME="Desk"\nPCLISTUP="0"\n',
        {"scan": "/srv/in", "ocr": "/opt/ocr", "name": "Desk", "listed": False},
    ),
    "the flag alone": ('pcListUp="0"\n', {"listed": False}),
    "an empty file": ("", {}),
    "no keys": ("nothing\nof=use\n", {}),
    "empty values": (
        'scanpath=""\nocrpath=""\npcname=""\npcListUp=""\n',
        {"scan": "", "name": "lab-desk", "listed": True},
    ),
    "quotes in a value": ('scanpath="/a "b" c"\n', {"scan": '/a "b" c'}),
    "something behind the last quote": ('scanpath="/abc" # mine\n', {"scan": "/abc"}),
    "no quotes": ("scanpath=/abc\n", {"scan": ""}),
    "no closing quote": ('scanpath="/abc\nocrpath="/o"\n', {"scan": "", "ocr": "/o"}),
    "other quotes": ("scanpath='/abc\"\n", {"scan": "/abc"}),
    "a blank before the equals sign": ('scanpath ="/abc"\n', {"scan": "/abc"}),
    "a blank behind the equals sign": ('scanpath= "/abc"\n', {"scan": '"/abc'}),
    "no line feed at the end": ('pcListUp="0"\npcname="last"', {"listed": False, "name": "last"}),
    "an equals sign at the end": ("pcname=", {"name": "lab-desk"}),
    "a key without an equals sign": ("pcname", {"name": "lab-desk"}),
    "carriage returns": ('pcname="desk"\r\npcListUp="0"\r\n', {"name": "desk", "listed": False}),
    "a value on the next line": (
        'scanpath=\nocrpath="/o"\n',
        {"scan": 'ocrpath="/o', "ocr": "/o"},
    ),
    "a key inside a value": (
        'scanpath="/srv/pcname"\nocrpath="/o"\npcname="desk"\n',
        {"scan": "/srv/pcname", "ocr": "/o", "name": "o"},
    ),
    "a key and an equals sign inside a value": (
        'scanpath="/ocrpath=/x"\nocrpath="/o"\n',
        {"scan": "/ocrpath=/x", "ocr": "x"},
    ),
    "the same key twice": ('pcname="one"\npcname="two"\n', {"name": "one"}),
    "a name with refused characters": ('pcname="my pc/1"\n', {"name": "mypc1"}),
    "a name of refused characters only": ('pcname="/ /"\n', {"name": "lab-desk"}),
    "a name with an accented letter": ('pcname="büro"\n', {"name": "Linux-PC"}),
    "a name with all signs": ('pcname="!@#$%^&\\().-_{}"\n', {"name": "!@#$%^&\\().-_{}"}),
    "a name of 16 characters": ('pcname="abcdefghijklmnop"\n', {"name": "abcdefghijklmno"}),
    "a name of 100 characters": (f'pcname="{"n" * 100}"\n', {"name": "n" * 15}),
    "a path of 511 bytes": (f'scanpath="/{"p" * 510}"\n', {"scan": "/" + "p" * 510}),
    "a path of 600 bytes": (f'scanpath="/{"p" * 599}"\n', {"scan": "/" + "p" * 510}),
    "zero bytes": (b'pcListUp="0"\n\0\0\npcname="behind"\n', {"listed": False}),
}


# Puts a folder in place of the settings folder, for the program that is started with it only.
OWN_SETTINGS = 'mount --bind "$1" "$2" && shift 2 && exec "$@"'


def settings_of_its_own(folder, content):
    """A wrapper that gives a program settings of this content."""
    folder.mkdir()
    settings = program.settings_file()
    settings.parent.mkdir(exist_ok=True)
    data = content if isinstance(content, bytes) else content.encode()
    (folder / settings.name).write_bytes(data)
    words = ["unshare", "--mount", "sh", "-c", OWN_SETTINGS, "sh", folder, settings.parent]
    return [str(word) for word in words]


def test_contents(open_windows, tmp_path):
    contents = [content for content, _expected in READING.values()]
    wrappers = [settings_of_its_own(tmp_path / str(n), text) for n, text in enumerate(contents)]
    windows = open_windows([{"wrapper": wrapper} for wrapper in wrappers])
    results = {case: shown(window) for case, window in zip(READING, windows)}
    assert results == {case: defaults(**expected) for case, (_, expected) in READING.items()}
    states = {case: window.apply.sensitive for case, window in zip(READING, windows)}
    assert not any(states.values()), states
    assert [window.tool.errors for window in windows] == [""] * len(windows)


def test_clear_flag_leaves_the_name_entry_enabled(open_network_page):
    """Only a click on the box changes that."""
    store('pcListUp="0"\n')
    window = open_network_page()
    assert not window.list_up.checked
    assert window.name_entry.sensitive


@pytest.mark.parametrize(
    "stored, flag", [("7", 1), ("x", 0), ("", 1), ("10", 1), ("00", 1), ("0", 0)]
)
def test_flag_is_shown_and_written_as_one_or_zero(open_window, stored, flag):
    """One character is taken for a number, any other text for a one."""
    store(f'pcListUp="{stored}"\n')
    window = open_window()
    assert window.list_up.checked == bool(flag)
    window.ok.press()
    assert window.tool.wait_for_end() == 0
    assert program.settings_file().read_text().splitlines()[3] == f'pcListUp="{flag}"'


def test_name_that_was_cut_is_written_cut(open_window):
    store('pcname="abcdefghijklmnopqrstuvwxyz"\n')
    window = open_window()
    window.ok.press()
    assert window.tool.wait_for_end() == 0
    assert 'pcname="abcdefghijklmno"\n' in program.settings_file().read_text()


def test_path_that_is_no_utf8_is_shown_readably_and_kept(open_window, tmp_path):
    folder = bytes(tmp_path) + b"/B\xfcro"
    tmp_path.joinpath(folder.decode("utf-8", "surrogateescape")).mkdir()
    store(b'scanpath="' + folder + b'"\n')
    window = open_window()
    assert window.scan_entry.text.startswith(f"{tmp_path}/B")
    window.ok.press()
    assert window.tool.wait_for_end() == 0
    assert program.settings_file().read_bytes().startswith(b'scanpath="' + folder + b'"\n')


def test_default_scan_folder_is_made_although_another_is_stored(open_window, tmp_path):
    store(f'scanpath="{tmp_path}"\n')
    assert open_window().scan_entry.text == str(tmp_path)
    assert program.scan_folder().is_dir()


def test_file_that_cannot_be_read_leaves_the_defaults(open_window):
    store('pcname="secret"\n')
    program.settings_file().chmod(0o000)
    window = open_window(wrapper=program.HEED_FILE_MODES)
    assert shown(window) == defaults()
    assert window.tool.errors == OPEN_ERROR


def test_link_to_nowhere_leaves_the_defaults(open_window):
    file = program.settings_file()
    file.parent.mkdir()
    file.symlink_to("nowhere")
    window = open_window()
    assert shown(window) == defaults()
    assert window.tool.errors == OPEN_ERROR


def test_file_changed_while_the_program_runs_is_not_read_again(open_network_page):
    store('pcname="first"\n')
    window = open_network_page()
    store('pcname="second"\n')
    window.list_up.press()
    window.wait_for_apply()
    assert 'pcname="first"\n' in program.settings_file().read_text()
