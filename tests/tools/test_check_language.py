"""What script/check-language finds in a language file."""
import os
import pathlib
import subprocess

import pytest

TOP = pathlib.Path(__file__).resolve().parents[2]
CHECK = TOP / "script" / "check-language"
GERMAN = (TOP / "data" / "lang" / "de" / "DVXTOOLS.RCT").read_bytes()


def run(*arguments):
    return subprocess.run(
        [CHECK, *arguments], capture_output=True, text=True, timeout=60, check=False
    )


def line_of(content, start):
    """The number of the one line that starts so."""
    (number,) = (
        number
        for number, line in enumerate(content.split(b"\n"), start=1)
        if line.startswith(start.encode())
    )
    return number


def replaced(line, by):
    """The German file with another line in place of the one that starts so."""
    lines = GERMAN.split(b"\n")
    lines[line_of(GERMAN, line) - 1] = by if isinstance(by, bytes) else by.encode()
    return b"\n".join(lines)


def text(number, value):
    return replaced(f"{number}=", f"{number}={value}")


@pytest.fixture
def findings(tmp_path):
    """Checks a content and gives (line, text) of each finding, after a look at the last line."""

    def find(content):
        path = tmp_path / "DVXTOOLS.RCT"
        path.write_bytes(content)
        done = run(path)
        assert done.stderr == ""
        *lines, summary = done.stdout.splitlines()
        found = [line.removeprefix(f"{path}:").partition(": ") for line in lines]
        found = [(int(number), message) for number, _, message in found]
        problems = sum(not message.startswith("warning: ") for _, message in found)
        assert done.returncode == (1 if problems else 0)
        assert summary.startswith(f"{path}: {problems or 'no'} problem")
        return found

    return find


def test_good_file_has_no_findings(findings):
    assert findings(GERMAN) == []


def test_english_is_not_called_untranslated():
    done = run(TOP / "data" / "lang" / "en" / "DVXTOOLS.RCT")
    assert done.stdout.endswith(": no problems, no warnings\n")
    assert done.returncode == 0


def test_line_ends_of_windows_are_fine(findings):
    assert findings(GERMAN.replace(b"\n", b"\r\n")) == []


def test_marks_for_the_keyboard_are_fine(findings):
    content = text(219, "_Suchen").replace(b"220=", b"220=_").replace(b"116=", b"116=D_")
    assert findings(content) == []


# A text of the file in place of the right one, and what is said of it.
TEXTS = {
    "nothing": (219, "", 'no text: nothing is shown for "Search"'),
    "blanks before it": (219, " Suchen", "blanks at the start of the text"),
    "blanks behind it": (219, "Suchen ", "blanks at the end of the line"),
    "an escape that there is none of": (
        219,
        "S\\uchen",
        'a stray backslash, which is dropped: "\\u"',
    ),
    "a backslash at its end": (219, "Suchen\\", 'a stray backslash, which is dropped: "\\"'),
    "a line break": (219, "Su\\nchen", "a line break, which the English text has not"),
    "a tab": (219, "Su\\tchen", "a tab, which the English text has not"),
    "a backslash": (219, "Su\\\\chen", "a backslash, which the English text has not"),
    "a control character": (219, "Su\x07chen", "a control character (0x07)"),
    "the English": (219, "Search", 'warning: not translated: "Search"'),
    "another name of the program": (
        10,
        "Werkzeuge",
        'the name of the program is "Veltrana DVX Tools" in all languages',
    ),
    "one character of three dots": (
        220,
        "Einrichten…",
        'three dots are one character here: write "..."',
    ),
    "no dots": (220, "Einrichten", 'no "..." at the end, as in "Configure..."'),
    "dots": (219, "Suchen...", '"..." at the end, unlike "Search"'),
    "no colon": (214, "Rechnername", 'no colon at the end, as in "PC name:"'),
    "a colon": (219, "Suchen:", 'a colon at the end, unlike "Search"'),
    "another field": (
        127,
        "Ordner : Der Pfad existiert nicht.",
        'does not start with the field and a colon: "Speichern in : "',
    ),
    "no full stop": (
        127,
        "Speichern in : Der Pfad existiert nicht",
        "warning: no full stop at the end of the sentence",
    ),
    "an underscore that is shown": (111, "_Allgemein", "the underscore would be shown"),
    "an underscore without a letter": (219, "Suchen_", "no letter behind the underscore"),
}


@pytest.mark.parametrize("number, value, message", TEXTS.values(), ids=TEXTS)
def test_text(findings, number, value, message):
    assert findings(text(number, value)) == [(line_of(GERMAN, f"{number}="), message)]


# A line in place of the one that starts so, and what is said of it; then what is missing for it.
LINES = {
    "bytes that are no UTF-8": ("219=", b"219=S\xfcchen", "not UTF-8: byte 6 is 0xfc", None),
    "too many bytes": ("219=", "219=" + "ä" * 500, "1004 bytes: a line has at most 1000", None),
    "too many bytes of a comment": (
        "; search dialog",
        ";" + "a" * 1000,
        "1001 bytes: a line has at most 1000",
        None,
    ),
    "no equals sign": (
        "219=",
        "219 Suchen",
        'ignored: no "=" (a comment starts with ";" in the first column)',
        '219, "Search"',
    ),
    "a comment behind a blank": (
        "; search dialog",
        " ; search dialog",
        'ignored: no "=" (a comment starts with ";" in the first column)',
        None,
    ),
    "a key that is no number": (
        "219=",
        "Search=Suchen",
        'ignored: "Search" is not the number of a text',
        '219, "Search"',
    ),
    "a blank behind the number": ("219=", "219 =Suchen", '"219 " is read as 219', None),
    "a number that is too large": ("219=", "65755=Suchen", '"65755" is read as 219', None),
    "a number that no window asks for": (
        "219=",
        "319=Suchen",
        "no window asks for text 319 of [dlg102]",
        '219, "Search"',
    ),
    "the text of a dialog itself": (
        "219=",
        "DialogInfo=Suchen",
        'no window asks for "DialogInfo"',
        '219, "Search"',
    ),
    "a number twice": (
        "219=",
        "218=Suchen",
        "text 218 again: it replaces the one of line {218=}",
        '219, "Search"',
    ),
    "more behind a section": (
        "[dlg103]",
        "[dlg103] search",
        'warning: ignored: "search" behind the section',
        None,
    ),
    "a section with a large number": (
        "[dlg103]",
        "[dlg65639]",
        '"[dlg65639]" is read as [dlg103]',
        None,
    ),
}


@pytest.mark.parametrize("start, line, message, missing", LINES.values(), ids=LINES)
def test_line(findings, start, line, message, missing):
    message = message.replace("{218=}", str(line_of(GERMAN, "218=")))
    expected = [(line_of(GERMAN, start), message)]
    if missing:
        expected.insert(0, (line_of(GERMAN, "[dlg102]"), f"missing: {missing}"))
    assert findings(replaced(start, line)) == expected


def test_two_letters_for_the_keyboard_that_are_the_same(findings):
    content = text(219, "_Suchen").replace(b"220=Einrichten", "220=Bear_Seiten".encode())
    message = f'the letter "S" is that of line {line_of(GERMAN, "219=")} too'
    assert findings(content) == [(line_of(GERMAN, "220="), message)]


def test_same_letter_for_the_keyboard_on_different_tabs(findings):
    assert findings(text(219, "_Suchen").replace(b"114=", b"114=_")) == []


def test_byte_order_mark(findings):
    message = "a byte order mark, which hides this line: save the file without it"
    assert findings(b"\xef\xbb\xbf" + GERMAN) == [(1, message)]


def test_utf16(findings):
    message = "this is UTF-16: save the file as UTF-8 without a byte order mark"
    assert findings(GERMAN.decode().encode("utf-16")) == [(1, message)]


def test_empty_file(findings):
    assert findings(b"") == [(1, "the file is empty")]


def test_last_line_without_an_end(findings):
    last = len(GERMAN.splitlines())
    message = "warning: no line feed at the end of the last line"
    assert findings(GERMAN.rstrip(b"\n")) == [(last, message)]


def test_unknown_section_adds_to_the_one_before(findings):
    number = line_of(GERMAN, "[dlg103]")
    found = findings(replaced("[dlg103]", "[search]"))
    assert found == [
        (number, 'unknown section "[search]": what follows counts as [dlg102]'),
        (number + 1, "no window asks for text 311 of [dlg102]"),
        (number + 1, "no section [dlg103]"),
    ]


def test_section_without_its_bracket_is_none(findings):
    found = findings(replaced("[dlg103]", "[dlg103"))
    assert found[0] == (line_of(GERMAN, "[dlg103]"), 'no "]": what follows counts as [dlg102]')


def test_section_that_no_window_asks_for(findings):
    number = line_of(GERMAN, "[dlg103]")
    assert findings(GERMAN.replace(b"[dlg103]", b"[dlg104]")) == [
        (number, "no window asks for texts of [dlg104]"),
        (number + 1, "no window asks for text 311 of [dlg104]"),
        (number + 1, "no section [dlg103]"),
    ]


def test_section_that_starts_again_loses_its_texts(findings):
    content = GERMAN.replace(b"220=", b"[dlg102]\n220=")
    number = line_of(GERMAN, "220=")
    first = line_of(GERMAN, "[dlg102]")
    found = findings(content)
    assert found[0] == (number, f"[dlg102] again: it replaces the one of line {first} whole")
    lost = [f"missing: {text_id}, " for text_id in range(211, 220)]
    assert [line for line, _ in found[1:]] == [number] * 9
    assert all(message.startswith(start) for (_, message), start in zip(found[1:], lost))


def test_texts_before_the_first_section(findings):
    found = findings(replaced("[string]", "1=Deutsch"))
    number = line_of(GERMAN, "[string]")
    assert found == [
        (number, "ignored: it stands before the first section"),
        (number + 1, "ignored: it stands before the first section"),
        (len(GERMAN.splitlines()), "no section [string]"),
    ]


def test_missing_name_of_the_language(findings):
    content = GERMAN.replace(b"1=Deutsch\n", b"", 1)
    message = "missing: 1, what the language calls itself"
    assert findings(content) == [(line_of(GERMAN, "[string]"), message)]


def test_missing_text_is_told_at_its_section(findings):
    content = b"\n".join(line for line in GERMAN.split(b"\n") if not line.startswith(b"114="))
    assert findings(content) == [(line_of(GERMAN, "[dlg101]"), 'missing: 114, "Save to:"')]


def test_several_files_are_each_summed_up(tmp_path):
    bad = tmp_path / "bad"
    bad.write_bytes(text(219, ""))
    good = tmp_path / "good"
    good.write_bytes(GERMAN)
    done = run(bad, good)
    assert done.returncode == 1
    assert done.stdout.splitlines()[1:] == [
        f"{bad}: 1 problem, no warnings",
        f"{good}: no problems, no warnings",
    ]


def test_warnings_alone_are_no_failure(tmp_path):
    path = tmp_path / "DVXTOOLS.RCT"
    path.write_bytes(text(219, "Search"))
    done = run(path)
    assert done.returncode == 0
    assert done.stdout.endswith(f"{path}: no problems, 1 warning\n")


def test_mistakes_on_the_command_line_exit_with_2(tmp_path):
    for arguments, message in [
        ([], "check-language: error: the following arguments are required: FILE"),
        (["--loud"], "check-language: error: "),
        (["/no/such/file"], "check-language: /no/such/file: No such file or directory"),
        ([tmp_path], f"check-language: {tmp_path}: Is a directory"),
    ]:
        done = run(*arguments)
        assert done.returncode == 2, arguments
        assert message in done.stderr, arguments


def test_unreadable_file_does_not_hide_the_findings_of_the_others(tmp_path):
    path = tmp_path / "DVXTOOLS.RCT"
    path.write_bytes(text(219, ""))
    done = run("/no/such/file", path)
    assert done.returncode == 2
    assert f"{path}: 1 problem" in done.stdout


def test_help_names_the_exit_status():
    done = run("--help")
    assert done.returncode == 0
    assert "Exit status: 0" in done.stdout


def test_works_from_any_folder(tmp_path):
    relative = os.path.relpath(TOP / "data" / "lang" / "de" / "DVXTOOLS.RCT", tmp_path)
    done = subprocess.run(
        [CHECK, relative], capture_output=True, text=True, cwd=tmp_path, timeout=60, check=False
    )
    assert (done.returncode, done.stdout) == (0, f"{relative}: no problems, no warnings\n")
