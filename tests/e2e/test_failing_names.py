"""Names that computers have and scanners give themselves, as long and as odd as they come."""
import failing
import pytest

from desktop_driver import program
from desktop_driver.main_window import NETWORK
from desktop_driver.window import cell_text

LONG = "abcdefghijklmnopqrstuvwxyz0123456789" * 2
LIMIT = 64

# This computer's name, and what the entry shows of it.
COMPUTERS = {
    "63 bytes": (LONG[:63].encode(), LONG[:15]),
    "64 bytes": (LONG[:LIMIT].encode(), LONG[:15]),
    "64 bytes, refused ones first": (b" /" * 20 + LONG[:24].encode(), LONG[:15]),
    "64 bytes, all refused": (b" /" * 32, ""),
    "64 bytes of accented letters": ("ü".encode() * 32, "Linux-PC"),
    "an accented letter within the first 63 bytes": (b"n" * 60 + "üü".encode(), "Linux-PC"),
    "an accented letter cut by the limit": (b"n" * 62 + "ü".encode(), "Linux-PC"),
    "an accented letter behind the limit of the entry": (b"n" * 20 + "ü".encode(), "Linux-PC"),
    "half a letter": (b"n" * 20 + b"\xc3", "Linux-PC"),
    "a wide letter": ("機".encode(), "Linux-PC"),
    "markup and formats": (b"<b>%s%n</b>", "b%s%nb"),
    "nothing": (b"", "Linux-PC"),
}
ALLOWED_ALONE = set(
    "0123456789abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ!@#$%^&\\().-_{}"
)


def test_names_of_computers(open_windows):
    names = [name for name, _shown in COMPUTERS.values()]
    windows = open_windows([{"wrapper": failing.computer_name(name)} for name in names])
    shown = {case: window.name_entry.text for case, window in zip(COMPUTERS, windows)}
    assert shown == {case: expected for case, (_, expected) in COMPUTERS.items()}
    assert all(set(text) <= ALLOWED_ALONE for text in shown.values())
    assert {window.tool.errors for window in windows} == {failing.OPEN_ERROR}


STORED = {
    "64 bytes": (LONG[:64], LONG[:15]),
    "65 bytes": (LONG[:65], LONG[:15]),
    "500 bytes": ("n" * 500, "n" * 15),
    "64 bytes, refused ones first": ("/" * 40 + LONG[:24], LONG[:15]),
    "100 refused bytes first": ("/" * 100 + "desk", "desk"),
    "accented letters": ("ü" * 32, "Linux-PC"),
    "an accented letter at byte 63": ("n" * 62 + "ü", "Linux-PC"),
    "an accented letter at byte 511": ("n" * 510 + "ü", "Linux-PC"),
    "empty": ("", "lab-desk"),
}


def test_stored_names(open_windows, tmp_path):
    programs = []
    for number, (name, _shown) in enumerate(STORED.values()):
        folder = tmp_path / str(number)
        folder.mkdir()
        (folder / "dvxtools.conf").write_text(f'pcname="{name}"\n')
        programs.append({"wrapper": failing.settings_in(folder)})
    windows = open_windows(programs)
    shown = {case: window.name_entry.text for case, window in zip(STORED, windows)}
    assert shown == {case: expected for case, (_, expected) in STORED.items()}


def told(peers):
    """The name in the last register command, with the zeros that fill it up."""
    return bytes.fromhex(peers.asked("register")[-1]["hex"])[24:40]


@pytest.mark.parametrize("name", [LONG[:63], LONG[:64]], ids=["63 bytes", "64 bytes"])
def test_long_name_that_an_empty_entry_stands_for(open_network_page, start_scanners, name):
    """Scanners get 15 bytes of it, and the settings file 39."""
    peers = start_scanners(1)
    window = open_network_page(wrapper=failing.computer_name(name.encode()))
    window.name_entry.type_over("")
    window.wait_for_apply()
    assert told(peers) == LONG[:15].encode() + b"\0"
    assert f'pcname="{LONG[:39]}"\n' in program.settings_file().read_text()
    assert window.name_entry.text == ""


def test_texts_too_long_for_the_entry_are_cut(open_network_page, start_scanners):
    peers = start_scanners(1)
    window = open_network_page()
    window.name_entry.type_over(LONG)
    window.wait_for_apply()
    assert told(peers) == LONG[:15].encode() + b"\0"
    assert f'pcname="{LONG[:15]}"\n' in program.settings_file().read_text()


CONTROLS = bytes([*range(1, 32), 127])
LONG_TEXT = "length_form.{0} = left6"

# The bytes that a scanner gives for its name, and what is shown. Signs at the end that cannot be
# seen, and all bytes from 80 on, are cut off.
NAMES = {
    "markup": (b"<b>A & B</b> &lt;i&gt; <span", "<b>A & B</b> &lt;i&gt; <span"),
    "formats": (b"%s%n%s%n%x", "%s%n%s%n%x"),
    "underscores": (b"_A__B_", "_A__B_"),
    "control characters": (CONTROLS + b"A", CONTROLS.decode() + "A"),
    "lines": (b"A\r\nB\n\nC", "A\r\nB\n\nC"),
    "a zero byte": (b"A\0B", "A"),
    "a zero byte first": (b"\0A", ""),
    "bytes of no character": (b"A\xff\xfeB\x80C\xc3(D", "A\ufffd\ufffdB\ufffdC\ufffd(D"),
    "longer than needed": (b"A\xc0\xbcB\xe0\x80\xbcC", "A\ufffd\ufffdB\ufffd\ufffd\ufffdC"),
    "half a surrogate": (b"A\xed\xa0\x80B", "A\ufffd\ufffd\ufffdB"),
    "beyond all characters": (b"A\xf4\x90\x80\x80B", "A\ufffd\ufffd\ufffd\ufffdB"),
    "half a character": (b"A\xe6\xa9", "A"),
    "no characters": ("A\ufffe\uffff\ufdd0B".encode(), "A\ufffe\uffff\ufdd0B"),
    "turned around": ("A\u202eB\u2066C".encode(), "A\u202eB\u2066C"),
    "marks that pile up": (b"A" + "\u0301".encode() * 40 + b"B", "A" + "\u0301" * 40 + "B"),
    "nothing to see": (b" \t\r\n", ""),
    "nothing": (b"", ""),
}


def scenario():
    groups = []
    for number, (name, _shown) in enumerate(NAMES.values()):
        value = name.hex(" ") or "none"
        source = f"hex:{value}" if name else "string:"
        groups.append(f"[scanner S{number}]\nobject.1.3.6.1.2.1.1.5.0 = {source}\n")
    return "".join(groups)


def test_names_of_scanners_are_only_texts(debug_lines, open_network_page, start_scanners):
    start_scanners(scenario())
    window = open_network_page()
    expected = {
        f"10.77.0.{101 + number}": shown for number, (_name, shown) in enumerate(NAMES.values())
    }

    def names():
        return {address: name for _model, name, address in window.devices.rows()}

    assert names() == expected
    window.run_search()
    assert names() == expected
    # As names of the list's cells too, and in the row that is selected.
    table = window.devices.accessible.queryTable()
    for row in range(table.nRows):
        window.devices.select_row(row)
        address = cell_text(table.getAccessibleAt(row, 2))
        assert table.getAccessibleAt(row, 1).name == expected[address]
        assert window.configure.sensitive
    assert b"szName=(%s%n%s%n%x)" in window.tool.errors_from(0)
    window.cancel.press()
    assert window.tool.wait_for_end() == 0


def test_models_and_vendors_of_scanners_are_only_texts(open_window, start_scanners):
    start_scanners(
        """
        [scanner Markup]
        vendor = <b>V & W</b>
        model = <i>M</i>
        [scanner Formats]
        vendor = %s%n
        model = %n%s
        [scanner Bytes]
        object.1.3.6.1.4.1.731.1.2.1.1.0 = hex:56 FF 01 56
        object.1.3.6.1.4.1.731.1.2.1.2.0 = hex:4D C3 5F 41 4D
        [scanner Split]
        object.1.3.6.1.4.1.731.1.2.1.2.0 = hex:41 C3 5F 42 BC 42
        """
    )
    models = {name: model for model, name, _address in open_window().devices.rows()}
    assert models == {
        "Markup": "<b>V & W</b> <i>M</i>",
        "Formats": "%s%n %n%s",
        "Bytes": "V\ufffd\x01V M\ufffdM",
        # What is left of a suffix may join to a character.
        "Split": "Veltrana AüB",
    }


def longest(question, byte="N", count=255):
    text = byte * count
    return f"{question} = {text}\nlength_form.{question} = left6\n"


def test_longest_texts_of_scanners(open_window, start_scanners):
    """Names of up to 255 bytes are shown whole; vendor and model have 255 together."""
    half = "ü".encode().hex(" ")
    long_name = f"object.1.3.6.1.2.1.1.5.0 = hex:{'41 ' + ' '.join([half] * 127)}\n"
    start_scanners(
        f"[scanner Name]\n{longest('name')}"
        f"[scanner Vendor]\nname = V\n{longest('vendor', 'V')}"
        f"[scanner Model]\nname = M\n{longest('model', 'M')}"
        f"[scanner Both]\nname = B\n{longest('vendor', 'V', 250)}{longest('model', 'M', 250)}"
        f"[scanner Too-Long]\nname = T\n{longest('vendor', 'V', 257)}"
        f"[scanner Underscores]\nname = U\n{longest('model', '_')}"
        f"[scanner Accents]\n{long_name}length_form.name = left6\n"
    )
    rows = {address[-3:]: (model, name) for model, name, address in open_window().devices.rows()}
    assert rows == {
        "101": ("Veltrana T55", "N" * 255),
        "102": ("V" * 255, "V"),
        "103": ("Veltrana " + "M" * 246, "M"),
        "104": ("V" * 250 + " MMMM", "B"),
        "106": ("Veltrana ", "U"),
        "107": ("Veltrana T55", "A"),
    }


def test_long_names_do_not_widen_the_window(open_network_page, start_scanners):
    start_scanners(f"[scanner Long]\n{longest('name')}{longest('vendor', 'V')}")
    window = open_network_page()
    width = window.place()[2]
    assert width <= 1280, width
    window.show_page(NETWORK)
    assert window.ok.showing
