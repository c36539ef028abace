"""What the program makes of the lines of a language file."""
from desktop_driver import program

# What a file makes of the texts 111 (General) and 116 (the first Browse...) of dialog 101.
CONTENTS = {
    "no string section": ("[dlg101]\n111=A\n", "A", "Browse..."),
    "an entry before any header": ("111=A\n[dlg101]\n116=B\n", "General", "B"),
    "an unknown header": ("[dlg101]\n111=A\n[misc]\n116=B\n", "A", "B"),
    "an unknown header at first": ("[misc]\n111=A\n[dlg101]\n116=B\n", "General", "B"),
    "headers in other case": ("[DLG101]\n111=A\n[STRING]\n116=B\n", "A", "Browse..."),
    "a header twice": ("[dlg101]\n111=A\n[dlg102]\n[dlg101]\n116=B\n", "General", "B"),
    "a header without its end": ("[dlg101\n111=A\n[dlg101]\n116=B\n", "General", "B"),
    "a header with more behind it": ("[dlg101] general\n111=A\n", "A", "Browse..."),
    "a header behind a blank": (" [dlg101]\n111=A\n", "General", "Browse..."),
    "a header with a large number": ("[dlg65637]\n111=A\n", "A", "Browse..."),
    "comments": ("[dlg101]\n;111=A\n116=B ;b\n", "General", "B ;b"),
    "an identifier above 16 bits": ("[dlg101]\n65647=A\n", "A", "Browse..."),
    "an entry twice": ("[dlg101]\n111=A\n111=C\n", "C", "Browse..."),
    "an equals sign in a text": ("[dlg101]\n111=a=b\n", "a=b", "Browse..."),
    "blanks around a text": ("[dlg101]\n111= A \n", " A ", "Browse..."),
    "a blank before the equals sign": ("[dlg101]\n111 =A\n", "A", "Browse..."),
    "a key that is no number": ("[dlg101]\nabc=A\n=C\n116=B\n", "General", "B"),
    "a line feed in a text": ("[dlg101]\n111=One\\nTwo\n", "One\nTwo", "Browse..."),
    "escapes": ("[dlg101]\n111=a\\tb\\\\c\\qd\\\n", "a\tb\\cqd", "Browse..."),
    "carriage returns": ("[string]\r\n1=x\r\n[dlg101]\r\n111=A\r\n", "A", "Browse..."),
    "no line feed at the end": ("[dlg101]\n111=A", "A", "Browse..."),
    "signs of markup": ("[dlg101]\n111=A & <B>\n116=<i>&amp;\n", "A & <B>", "<i>&amp;"),
    "nothing": ("", "General", "Browse..."),
    "a text of 2000 bytes": (f"[dlg101]\n111={'A' * 2000}\n116=B\n", "A" * 1019, "B"),
}


def test_contents(open_windows):
    programs = []
    for number, (content, _tab, _button) in enumerate(CONTENTS.values()):
        program.install_language(f"l_{number:03}", content)
        programs.append({"environment": {"LANG": f"l_{number:03}", "LC_ALL": "C.UTF-8"}})
    shown = {
        case: (window.tabs.children()[0].name, window.scan_browse.name)
        for case, window in zip(CONTENTS, open_windows(programs))
    }
    assert shown == {case: (tab, button) for case, (_, tab, button) in CONTENTS.items()}


def test_file_that_is_no_utf8_is_shown_readably(open_german):
    window = open_german(b"[dlg101]\n111=Ger\xe4te\n116=B\n")
    name = window.tabs.children()[0].name
    assert name.startswith("Ger") and name.endswith("te"), name
    assert window.scan_browse.name == "B"


def test_random_bytes_do_no_harm(open_german):
    noise = bytes((n * n * 7 + n // 3) % 256 for n in range(20000))
    window = open_german(b"[dlg101]\n" + noise + b"\n[dlg102]\n219=Suchen\n")
    assert window.search.name == "Suchen"
