"""The language file: where it is looked for, and its texts in the window."""
import pytest

from desktop_driver import program
from desktop_driver.main_window import NETWORK
from desktop_driver.xwindows import ManagedWindow

DATA = program.SHARE / "data"
TEXTS = {
    (100, 10): "Titel",
    (101, 111): "Allgemein",
    (101, 113): "Scannen",
    (101, 114): "Speichern in:",
    (101, 116): "Ordner suchen",
    (101, 119): "Texterkennung",
    (101, 121): "Programm:",
    (101, 123): "Programm suchen",
    (101, 124): "Datei auswählen",
    (101, 125): "Ordner auswählen",
    (101, 126): "Das Programm fehlt.",
    (101, 127): "Der Ordner fehlt.",
    (102, 211): "Netzwerk",
    (102, 212): "Dieser Rechner",
    (102, 213): "In Geräten anzeigen",
    (102, 214): "Rechnername:",
    (102, 215): "Gerät einrichten",
    (102, 216): "Modell",
    (102, 217): "Gerätename",
    (102, 218): "IP-Adresse",
    (102, 219): "Suchen",
    (102, 220): "Einrichten...",
    (103, 311): "Geräte werden gesucht...",
}


def language_text(texts):
    """A language file of {(dialog, identifier): text}."""
    lines, last = ["[string]", "1=x"], None
    for (dialog, identifier), text in sorted(texts.items()):
        if dialog != last:
            lines.append(f"[dlg{dialog}]")
        lines.append(f"{identifier}={text}")
        last = dialog
    return "\n".join(lines) + "\n"


def language(value):
    """LANG alone decides; the C library gets a locale that every machine has."""
    return {"LANG": value, "LC_ALL": "C.UTF-8"}


def tries(tool):
    """The lines about opening language files, without their fixed parts."""
    prefix = "[TryOpenRctFile(150)]: \tOpen RCT :'"
    return [
        line.removeprefix(prefix).replace(str(DATA), "")
        for line in tool.errors.splitlines()
        if line.startswith(prefix)
    ]


def test_all_texts_of_the_window(open_german):
    window = open_german(language_text(TEXTS), "Titel")
    assert [tab.name for tab in window.tabs.children()] == ["Allgemein", "Netzwerk"]
    assert sorted(label.name for label in window.general.all("label")) == [
        "Programm:",
        "Scannen",
        "Speichern in:",
        "Texterkennung",
    ]
    assert window.scan_browse.name == "Ordner suchen"
    assert window.ocr_browse.name == "Programm suchen"
    assert sorted(label.name for label in window.network.all("label")) == [
        "Dieser Rechner",
        "Gerät einrichten",
        "Rechnername:",
    ]
    assert window.list_up.name == "In Geräten anzeigen"
    assert window.devices.titles() == ["Modell", "Gerätename", "IP-Adresse"]
    assert window.search.name == "Suchen"
    assert window.configure.name == "Einrichten..."


def test_all_texts_of_the_dialogs(open_german, start_scanners):
    window = open_german(language_text(TEXTS), "Titel")
    window.scan_browse.press()
    chooser = window.wait_for_dialog()
    assert chooser.name == "Ordner auswählen"
    chooser.find("push button", "Cancel").press()
    window.wait_for_no_dialog()
    window.ocr_browse.press()
    chooser = window.wait_for_dialog()
    assert chooser.name == "Datei auswählen"
    chooser.find("push button", "Cancel").press()
    window.wait_for_no_dialog()
    window.show_page(NETWORK)
    # The search waits for it while the dialog is looked at.
    start_scanners("[scanner Slow]\ndelay.model = 2900\n")
    assert window.begin_search().find("label").name == "Geräte werden gesucht..."


@pytest.mark.parametrize(
    "entry, message", [("scan_entry", "Der Ordner fehlt."), ("ocr_entry", "Das Programm fehlt.")]
)
def test_texts_and_title_of_the_message_box(open_german, entry, message):
    window = open_german(language_text(TEXTS), "Titel")
    getattr(window, entry).type_over("/no/such/path")
    window.apply.press()
    box = window.wait_for_dialog("alert")
    assert [label.name for label in box.all("label") if label.showing] == [message]
    assert ManagedWindow.dialog_of(window.tool).title == "Titel"


TRIES = {
    "sv_SE.UTF-8": ["/sv_SE/", "/sv/"],
    "sv_SE": ["/sv_SE/", "/sv/"],
    "sv": ["/sv_SE/", "/sv/"],
    "cs": ["/cs_CZ/", "/cs/"],
    "en": ["/en_US/", "/en/"],
    "ja": ["/ja_JP/", "/ja/"],
    "zh": ["/zh_CN/", "/zh/"],
    "de": ["/de_DE/", "/de/"],
    "C": ["/C/", "/C/"],
    "C.UTF-8": ["/C.UTF/", "/C./"],
    "POSIX": ["/POSIX/", "/PO/"],
    "fil_PH.UTF-8": ["/fil_P/", "/fi/"],
    "": ["//", "//"],
}


def test_places(debug_lines, open_windows):
    windows = open_windows([{"environment": language(value)} for value in TRIES])
    for window, (value, own) in zip(windows, TRIES.items()):
        places = [*own, "/en_US/", "/en/", "/"]
        assert tries(window.tool) == [f"{place}DVXTOOLS.RCT' Failed" for place in places]
        line = f"[Get_ll_CC(74)]: CRctFile::Get_ll_CC lang={value} \n"
        assert window.tool.errors.startswith(line)


def test_places_without_a_language(debug_lines, open_window):
    window = open_window(environment=language(None))
    places = ["//", "//", "/en_US/", "/en/", "/"]
    assert tries(window.tool) == [f"{place}DVXTOOLS.RCT' Failed" for place in places]


PLACES = ["sv_SE", "sv", "en_US", "en", "."]


@pytest.mark.parametrize("number", range(5), ids=PLACES)
def test_first_place_that_has_a_file_is_taken(debug_lines, open_window, number):
    for place in PLACES[number:]:
        program.install_language(place, f"[string]\n1=x\n[dlg100]\n10=From {place}\n")
    title = f"From {PLACES[number]}"
    window = open_window(environment=language("sv_SE.UTF-8"), title=title)
    results = [line.rpartition(" ")[2] for line in tries(window.tool)]
    assert results == ["Failed"] * number + ["Success"]
    assert ManagedWindow.main_of(window.tool).title == title


def test_other_variables_do_not_matter(open_window):
    program.install_language("sv_SE", "[dlg100]\n10=Swedish\n")
    program.install_language("de_DE", "[dlg100]\n10=German\n")
    variables = {"LANG": "sv_SE.UTF-8", "LANGUAGE": "de_DE:de", "LC_MESSAGES": "de_DE.UTF-8"}
    open_window(environment=variables, title="Swedish")


def test_missing_texts_are_english(open_german):
    window = open_german("[string]\n1=x\n[dlg101]\n111=Allgemein\n")
    assert [tab.name for tab in window.tabs.children()] == ["Allgemein", "Network"]
    assert window.scan_browse.name == "Browse..."


def test_empty_text_is_shown_instead_of_the_english_one(open_german):
    window = open_german("[dlg100]\n10=\n[dlg101]\n111=\n116=\n[dlg102]\n219=\n", title="")
    assert ManagedWindow.main_of(window.tool).title == ""
    assert [tab.name for tab in window.tabs.children()] == ["", "Network"]
    assert window.scan_browse.name == ""
    assert window.search.name == ""


def test_folder_instead_of_the_file_ends_the_search_for_one(debug_lines, open_window):
    (DATA / "sv_SE" / "DVXTOOLS.RCT").mkdir(parents=True)
    program.install_language("sv", "[dlg100]\n10=Not this one\n")
    window = open_window(environment=language("sv_SE.UTF-8"))
    assert tries(window.tool) == ["/sv_SE/DVXTOOLS.RCT' Success"]
    assert [tab.name for tab in window.tabs.children()] == ["General", "Network"]
