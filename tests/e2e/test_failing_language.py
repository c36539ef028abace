"""Language files of every wrong kind, and values of LANG that name no language."""
import os

import failing

from desktop_driver import program
from desktop_driver.main_window import NETWORK
from desktop_driver.xwindows import ManagedWindow

DATA = program.SHARE / "data"
KIBIBYTES_64 = 64 * 1024
# What the program reads of a line at a time.
PIECE = 1023


def padded(beginning, length):
    """A line's beginning, filled up to a length."""
    return beginning + "x" * (length - len(beginning))


def language(value):
    """LANG alone decides; the C library gets a locale that every machine has."""
    return {"LANG": value, "LC_ALL": "C.UTF-8"}


def tries(tool):
    """The lines about opening language files, without their fixed parts."""
    prefix = "[TryOpenRctFile(150)]: \tOpen RCT :'"
    return [
        line.removeprefix(prefix).replace(f"{DATA}/", "").replace("DVXTOOLS.RCT", "")
        for line in tool.errors.splitlines()
        if line.startswith(prefix)
    ]


VALUES = {
    "d": ["d/", "d/"],
    "_": ["_/", "_/"],
    "1a": ["1a/", "1a/"],
    "d" * 300: ["ddddd/", "dd/"],
    "%s%n%s%n": ["%s%n%/", "%s/"],
    "../../..": ["../../", "../"],
    "/etc": ["/etc/", "/e/"],
    "\x01\t": ["\x01\t/", "\x01\t/"],
    "ü": ["ü/", "ü/"],
    None: ["/", "/"],
}


def test_values_that_name_no_language(debug_lines, open_windows):
    """They are taken as they are, and English is tried behind them."""
    windows = open_windows([{"environment": language(value)} for value in VALUES])
    for window, (value, own) in zip(windows, VALUES.items()):
        found = tries(window.tool)
        assert found == [f"{place}' Failed" for place in [*own, "en_US/", "en/", ""]]
        assert window.tabs.children()[0].name == "General"
        line = f"[Get_ll_CC(74)]: CRctFile::Get_ll_CC lang={value or ''} \n"
        assert window.tool.errors.startswith(line)


def test_c_library_without_such_a_locale(open_windows):
    """The program starts as well where LANG is all that is set."""
    values = ["d", "d" * 300, "de_DE.UTF-8", "", "%s%n"]
    windows = open_windows([{"environment": {"LANG": value, "LC_ALL": None}} for value in values])
    for window in windows:
        assert window.tabs.children()[0].name == "General"
        window.cancel.press()
    assert [window.tool.wait_for_end() for window in windows] == [0] * len(windows)


def link_to(target):
    return lambda path: path.symlink_to(target)


def closed(path):
    path.write_text("[dlg101]\n111=Closed\n")
    path.chmod(0o000)


# What to make of the file, a content or a function, and what is shown for the texts 111 (General)
# and 116 (the first Browse...) of dialog 101. The file of the language alone has a C and a D.
FILES = {
    "a text of 64 KiB": (
        f"[dlg101]\n{padded('111=', KIBIBYTES_64)}\n116=B\n",
        padded("", PIECE - len("111=")),
        "B",
    ),
    "64 KiB without an end of line": (
        f"[dlg101]\n116=B\n{padded('111=', KIBIBYTES_64)}",
        padded("", PIECE - len("111=")),
        "B",
    ),
    "64 KiB without an equals sign": (f"[dlg101]\n{'x' * KIBIBYTES_64}\n111=A\n", "A", "Browse..."),
    "64 KiB of equals signs": (f"[dlg101]\n{'=' * KIBIBYTES_64}\n111=A\n", "A", "Browse..."),
    "64 KiB of backslashes": (
        "[dlg101]\n111=" + "\\" * KIBIBYTES_64 + "\n116=B\n",
        # Of an odd number the last one goes.
        "\\" * ((PIECE - len("111=")) // 2),
        "B",
    ),
    "a header of 64 KiB": (f"[dlg101{'x' * KIBIBYTES_64}]\n111=A\n", "General", "Browse..."),
    # Only its first piece is the comment.
    "a comment of 64 KiB with entries in it": (
        f"[dlg101]\n{padded(';', PIECE)}{padded('111=', PIECE)}{padded('116=', PIECE)}"
        f"{'x' * KIBIBYTES_64}\n",
        padded("", PIECE - len("111=")),
        padded("", PIECE - len("116=")),
    ),
    "a header in the middle of a line": (
        f"{padded('x', PIECE)}[dlg101]\n111=A\n",
        "A",
        "Browse...",
    ),
    "zero bytes": (b"\0" * KIBIBYTES_64 + b"\n[dlg101]\n111=A\n", "A", "Browse..."),
    "a zero byte in a text": (b"[dlg101]\n111=A\0B\n116=\0B\n", "A", ""),
    "bytes of no character": (b"[dlg101]\n111=" + b"\xff" * 3, "\ufffd" * 3, "Browse..."),
    "a character cut off by the end of a piece": (
        "[dlg101]\n111=" + "x" * (PIECE - 5) + "ü\n",
        "x" * (PIECE - 5) + "\ufffd",
        "Browse...",
    ),
    "every byte": (
        b"[dlg101]\n111=A\n" + bytes(range(1, 256)) * 64 + b"\n116=B\n",
        "A",
        "B",
    ),
    "formats": ("[dlg101]\n111=%s%n%s%n\n116=100 %d\n", "%s%n%s%n", "100 %d"),
    "control characters": (
        "[dlg101]\n111=A\x01\x1b[1m\x7f\n116=\\r\\tB\n",
        "A\x01\x1b[1m\x7f",
        "\r\tB",
    ),
    "many sections": (
        "".join(f"[dlg{number}]\n1=x\n" for number in range(102, 20000)) + "[dlg101]\n111=A\n",
        "A",
        "Browse...",
    ),
    "many entries": (
        "[dlg101]\n" + "".join(f"{number}=T{number}\n" for number in range(1, 70000)),
        # Identifiers have 16 bits.
        "T65647",
        "T65652",
    ),
    "a device without an end": (link_to("/dev/zero"), "General", "Browse..."),
    "a device without a content": (link_to("/dev/null"), "General", "Browse..."),
    "a file that cannot be read": (closed, "C", "D"),
    "a link to nowhere": (link_to("nowhere"), "C", "D"),
    "a link to itself": (link_to("DVXTOOLS.RCT"), "C", "D"),
    "a pipe": (os.mkfifo, "C", "D"),
}


def make(what, path):
    path.parent.mkdir(parents=True)
    if callable(what):
        what(path)
    else:
        path.write_bytes(what if isinstance(what, bytes) else what.encode())


def test_files_of_every_kind(open_windows):
    programs = []
    program.install_language("l_", "[dlg101]\n111=C\n116=D\n")
    for number, (what, _tab, _button) in enumerate(FILES.values()):
        make(what, DATA / f"l_{number:03}" / "DVXTOOLS.RCT")
        environment = language(f"l_{number:03}")
        programs.append({"environment": environment, "wrapper": program.HEED_FILE_MODES})
    windows = open_windows(programs)
    shown = {
        case: (window.tabs.children()[0].name, window.scan_browse.name)
        for case, window in zip(FILES, windows)
    }
    assert shown == {case: (tab, button) for case, (_, tab, button) in FILES.items()}
    errors = {case: window.tool.errors for case, window in zip(FILES, windows)}
    assert errors == {case: failing.OPEN_ERROR for case in FILES}


def test_data_folders_of_the_wrong_kind(debug_lines, open_windows, tmp_path):
    """English texts, without a word."""
    shut, loop, empty = (tmp_path / name for name in ("shut", "loop", "empty"))
    (shut / "de_DE").mkdir(parents=True)
    (shut / "de_DE" / "DVXTOOLS.RCT").write_text("[dlg101]\n111=Shut\n")
    (shut / "de_DE").chmod(0o000)
    loop.mkdir()
    (loop / "de_DE").symlink_to("de_DE")
    empty.mkdir()
    DATA.mkdir()
    programs = []
    for folder in (shut, loop, empty):
        wrapper = [*failing.put_over(folder, DATA), *program.HEED_FILE_MODES]
        programs.append({"wrapper": wrapper, "environment": language("de")})
    programs.append({"environment": language("de")})
    *windows, last = open_windows(programs)
    for window in [*windows, last]:
        assert window.tabs.children()[0].name == "General"
        assert [line.rpartition(" ")[2] for line in tries(window.tool)] == ["Failed"] * 5


def test_texts_of_a_file_are_only_texts(open_german):
    """In the title, in a message box, and in the search dialog."""
    odd = "<b>A & B</b> &amp; %s%n \x1b[1m"
    lines = "".join(
        f"[dlg{dialog}]\n{identifier}={odd}\n"
        for dialog, identifier in ((100, 10), (101, 127), (102, 219), (103, 311))
    )
    # The control character is not part of the name that a title gives a window.
    window = open_german(lines, title=odd)
    assert window.search.name == odd
    window.scan_entry.type_over("/no/such/folder")
    window.apply.press()
    box = window.wait_for_dialog("alert")
    assert [label.name for label in box.all("label") if label.showing] == [odd]
    assert ManagedWindow.dialog_of(window.tool).title is not None
    box.find("push button").press()
    window.wait_for_no_dialog()
    window.show_page(NETWORK)
    dialog = window.begin_search()
    assert [label.name for label in dialog.all("label")] == [odd]
    window.wait_for_no_dialog()
