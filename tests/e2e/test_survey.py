"""The scanners that the program lists when it starts."""
import pathlib
import time

from desktop_driver.main_window import NETWORK

SCENARIOS = pathlib.Path(__file__).resolve().parents[2] / "tools" / "scanner-sim" / "scenarios"


def test_lists_model_name_and_address_of_every_scanner(open_window, start_scanners):
    start_scanners(SCENARIOS / "six-office.conf")
    rows = open_window().devices.rows()
    assert sorted(rows, key=lambda row: row[2]) == [
        ["Veltrana T55", "Reception", "10.77.0.101"],
        ["Veltrana T35", "Accounting", "10.77.0.102"],
        ["Veltrana T90", "Mail-Room", "10.77.0.103"],
        ["Veltrana F220", "Archive", "10.77.0.104"],
        ["Veltrana A3", "Drawing Office", "10.77.0.105"],
        ["Veltrana S18", "Warehouse", "10.77.0.106"],
    ]


def test_list_is_visible_on_the_network_page(open_window, start_scanners):
    start_scanners(2)
    window = open_window()
    window.show_page(NETWORK)
    assert window.devices.showing
    assert not window.configure.sensitive


def test_lists_scanners_in_the_order_of_their_answers(open_window, start_scanners):
    start_scanners(
        """
        [scanner Last]
        delay.discovery = 800
        [scanner Middle]
        delay.discovery = 400
        [scanner First]
        """
    )
    assert open_window().scanner_names() == ["First", "Middle", "Last"]


def test_gathers_answers_until_a_second_passes_without_one(open_window, start_scanners):
    start_scanners(
        """
        [scanner At-Once]
        [scanner Half-A-Second]
        delay.discovery = 500
        [scanner One-Second]
        delay.discovery = 1000
        [scanner One-And-A-Half]
        delay.discovery = 1500
        [scanner Too-Late]
        delay.discovery = 4000
        """
    )
    names = open_window().scanner_names()
    assert names == ["At-Once", "Half-A-Second", "One-Second", "One-And-A-Half"]


def test_window_appears_only_after_the_survey(start_program):
    begin = time.monotonic()
    start_program().main_window()
    assert time.monotonic() - begin >= 1.0


def test_cuts_suffixes_off_the_models(open_window, start_scanners):
    start_scanners(
        """
        [scanner One]
        model = T55_E
        [scanner Two]
        model = A_B_C
        [scanner Longer-Suffix]
        model = T55_EU
        [scanner At-The-End]
        model = ABC_
        [scanner Double]
        model = A__B
        [scanner Only]
        model = _
        [scanner Around]
        model = _AB_
        [scanner None]
        model = T-55 E
        """
    )
    models = {name: model for model, name, _address in open_window().devices.rows()}
    assert models == {
        "One": "Veltrana T55",
        "Two": "Veltrana A",
        "Longer-Suffix": "Veltrana T55U",
        "At-The-End": "Veltrana AB",
        "Double": "Veltrana AB",
        "Only": "Veltrana ",
        "Around": "Veltrana ",
        "None": "Veltrana T-55 E",
    }


def test_shows_texts_as_the_scanner_says_them(open_window, start_scanners):
    start_scanners(
        r"""
        [scanner Other-Maker]
        vendor = Acme & Sons <Ltd>
        name = 2nd floor_left
        [scanner Padded]
        vendor = Veltrana\s\s\r\n
        model = T55\s\s\s
        name = \sPRINTER-12\s\s\s
        [scanner Accents]
        name = Büro
        [scanner Accent-Last]
        name = café
        """
    )
    rows = {address: (model, name) for model, name, address in open_window().devices.rows()}
    assert rows == {
        "10.77.0.101": ("Acme & Sons <Ltd> T55", "2nd floor_left"),
        # What does not print is cut off the end, and only there: accented letters count as such.
        "10.77.0.102": ("Veltrana T55", " PRINTER-12"),
        "10.77.0.103": ("Veltrana T55", "Büro"),
        "10.77.0.104": ("Veltrana T55", "caf"),
    }


def test_lists_scanners_with_the_longest_texts_that_fit_an_answer(open_window, start_scanners):
    vendor, model, name = "V" * 82, "M" * 82, "N" * 86
    start_scanners(f"[scanner Long]\nvendor = {vendor}\nmodel = {model}\nname = {name}\n")
    assert open_window().devices.rows() == [[f"{vendor} {model}", name, "10.77.0.101"]]


def test_lists_nothing_without_scanners(open_window):
    assert open_window().devices.rows() == []


def test_lists_only_scanners_that_answer_all_three_questions(open_window, start_scanners):
    peers = start_scanners(SCENARIOS / "silent-on-one-object.conf")
    names = open_window().scanner_names()
    assert sorted(names) == ["Complete", "No-Hardware-Address"]
    asked = {
        scanner: [
            question
            for question in ("model", "vendor", "name", "mac")
            if peers.asked(question, scanner)
        ]
        for scanner in ("Complete", "Silent-About-Model", "Silent-About-Vendor", "Hidden")
    }
    assert asked == {
        "Complete": ["model", "vendor", "name"],
        "Silent-About-Model": ["model"],
        "Silent-About-Vendor": ["model", "vendor"],
        "Hidden": [],
    }


def test_asks_once_each_for_model_vendor_and_name_in_this_order(open_window, start_scanners):
    peers = start_scanners(1)
    open_window()
    questions = [entry["understood"]["question"] for entry in peers.log(direction="received")]
    assert questions == ["discovery", "model", "vendor", "name"]


def test_lists_256_of_300_scanners(open_window, start_scanners):
    # Spread a little, since a socket does not keep 300 answers that arrive at once.
    peers = start_scanners(300, "--set", "delay.discovery=0-500", network="10.77.0.0/16")
    rows = open_window().devices.rows()
    assert len(rows) == 256
    known = {scanner["address"]: scanner["name"] for scanner in peers.all()}
    assert all(known[address] == name for _model, name, address in rows)
    assert len({address for _model, _name, address in rows}) == 256
    assert len(peers.asked("model")) == 256
