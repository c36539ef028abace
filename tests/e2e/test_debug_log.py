"""What the program says in its debug log, and where the log goes.

In the lines here "(N)" stands for a line number that is not fixed, and "..." for any text.
"""
import re

import pytest

from desktop_driver import program
from desktop_driver.main_window import GENERAL, NETWORK
from desktop_driver.waiting import wait_until
from desktop_driver.xwindows import ManagedWindow

OPEN_ERROR = "void CMainTabs::ReadFile(): Setting File open Error"
NAME_CHARACTERS = "0123456789abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ!@#$%^&\\().-_{}"

LANGUAGE_LINES = [
    "[Get_ll_CC(74)]: CRctFile::Get_ll_CC lang=C.UTF-8 ",
    *(
        f"[TryOpenRctFile(150)]: \tOpen RCT :'{program.SHARE}/data/{place}DVXTOOLS.RCT' Failed"
        for place in ("C.UTF/", "C./", "en_US/", "en/", "")
    ),
]
SURVEY_LINES = [
    "[searchMachine(N)]: searchMachine num=(1)",
    "[searchMachine(N)]: szIP = 10.77.0.101, szModel = T55_E, szVendor = Veltrana,"
    " szName = Reception",
    "[searchMachine(N)]: Delete Suffix from Model Name.",
    "[searchMachine(N)]: szIP = 10.77.0.101, szModel = T55, szVendor = Veltrana,"
    " szName = Reception",
    "[searchMachine(N)]: searchMachine szModel=(T55)",
    "[searchMachine(N)]: searchMachine szName=(Reception)",
    "[searchMachine(N)]: searchMachine szVendor=(Veltrana T55)",
    "[searchMachine(N)]: searchMachine m_iNumMachine=(1)",
    "[searchMachine(N)]: searchMachine ip=(10.77.0.101)",
    "[searchMachine(N)]: searchMachine m_iNumMachine=(1)",
]
LIST_LINES = [
    "[SetMachineList(N)]: ...",
    "[AddString2(N)]: AddString2 (Veltrana T55)-(Reception)-(10.77.0.101) ",
    "[SetMachineList(N)]: ...",
]
INTERFACE_LINES = [
    "[get_ip_mac(N)]: interface num is intrface=2",
    "[get_ip_mac(N)]: net device eth0",
    "[get_ip_mac(N)]: the interface status is UP",
    "[get_ip_mac(N)]: IP address is: 10.77.0.10",
    "[get_ip_mac(N)]: HW address is: 02:56:44:56:58:10",
    "[get_ip_mac(N)]: net device lo",
    "[get_ip_mac(N)]: the interface status is UP",
    "[get_ip_mac(N)]: IP address is: 127.0.0.1",
    "[get_ip_mac(N)]: HW address is: 00:00:00:00:00:00",
]


def start_lines(survey, device_list):
    """The lines of a start without settings."""
    return [
        *LANGUAGE_LINES,
        "[CTabNetwork(N)]: hostname=(lab-desk)",
        *survey,
        f"[SetInputRule(252)]: xEntryNoWide::SetInputRule : {NAME_CHARACTERS}",
        f"[ReadFile(252)]: {OPEN_ERROR}",
        "[OnInitDialog(N)]: CTabNetwork::OnInitDialog lab-desk",
        *device_list,
        *insertion("lab-desk"),
    ]


NOBODY_LINES = [
    "[searchMachine(N)]: searchMachine do not find net scaner!",
    "[searchMachine(N)]: searchMachine m_iNumMachine=(0)",
]
EMPTY_LIST_LINES = ["[SetMachineList(N)]: ..."] * 2


def insertion(text, kept=None):
    """The lines of a text that goes into the name entry."""
    lines = [
        "[CallBack_InsertText(289)]: xEntryNoWide::CallBack_InsertText ",
        f"[OnInsertText(300)]: xEntryNoWide::OnInsertText(new_text = '{text}',"
        f" len = {len(text)}, pos = 0)",
        f"[OnInsertText(335)]: validstr = '{text if kept is None else kept}'",
    ]
    return lines if kept is None else lines + insertion(kept)


def matches(line, expected):
    parts = [re.escape(part) for part in re.split(r"(\(N\)|\.\.\.$)", expected)]
    pattern = "".join(parts).replace(r"\(N\)", r"\(\d+\)").replace(r"\.\.\.", ".*")
    return re.fullmatch(pattern, line) is not None


def compare(lines, expected):
    for number, (line, wanted) in enumerate(zip(lines, expected)):
        assert matches(line, wanted), f"line {number}: {line!r} instead of {wanted!r}"
    assert len(lines) == len(expected), lines[len(expected) :] or expected[len(lines) :]


class Reader:
    """The lines that the program adds to standard error."""

    def __init__(self, tool):
        self.tool = tool
        self.read = 0

    def skip(self):
        self.read = len(self.tool.errors)

    def wait_for(self, count):
        """Waits for so many lines and gives all that there are by then."""
        wait_until(
            lambda: self.tool.errors.count("\n", self.read) >= count,
            lambda: f"{count} lines (there is {self.tool.errors[self.read :]!r})",
        )
        lines = self.tool.errors[self.read :].split("\n")
        self.skip()
        assert lines.pop() == ""
        return lines

    def expect(self, *expected):
        """Waits for as many lines as are expected, and compares them."""
        compare(self.wait_for(len(expected)), expected)


@pytest.fixture
def watch(debug_lines, open_network_page):
    """Opens the window with the debug log on standard error."""

    def watch_it(**keywords):
        window = open_network_page(**keywords)
        reader = Reader(window.tool)
        reader.skip()
        return window, reader

    return watch_it


# --- where the log goes


def test_without_switch_files_nothing_is_logged(open_window):
    window = open_window()
    window.ok.press()
    assert window.tool.wait_for_end() == 0
    assert window.tool.errors == f"{OPEN_ERROR}\n"
    assert not program.LOG.exists()


def test_err_switch_sends_it_to_standard_error(open_window):
    program.switch_debug_on("err")
    lines = open_window().tool.errors.splitlines()
    # The plain message goes there anyway.
    assert lines.count(OPEN_ERROR) == 1
    lines.remove(OPEN_ERROR)
    compare(lines, start_lines(NOBODY_LINES, EMPTY_LIST_LINES))
    assert not program.LOG.exists()


def test_log_switch_sends_it_to_the_file(open_window):
    program.switch_debug_on("log")
    window = open_window()
    assert window.tool.errors == f"{OPEN_ERROR}\n"
    compare(program.LOG.read_text().splitlines(), start_lines(NOBODY_LINES, EMPTY_LIST_LINES))


def test_err_switch_goes_before_log_switch(open_window):
    program.LOG.write_text("from earlier\n")
    program.switch_debug_on("log")
    program.switch_debug_on("err")
    assert "[CTabNetwork(" in open_window().tool.errors
    assert program.LOG.read_text() == "from earlier\n"


def test_log_is_appended_to(open_window):
    program.LOG.write_text("from earlier\n")
    program.switch_debug_on("log")
    for _ in range(2):
        window = open_window()
        window.cancel.press()
        assert window.tool.wait_for_end() == 0
    run = start_lines(NOBODY_LINES, EMPTY_LIST_LINES)
    run.append("[OnNofityBtnClicked(100)]: CMainWin::OnNofityBtnClicked ID=5 ")
    compare(program.LOG.read_text().splitlines(), ["from earlier", *run, *run])


def test_removed_log_is_made_again(open_window):
    program.switch_debug_on("log")
    window = open_window()
    program.LOG.unlink()
    window.cancel.press()
    assert window.tool.wait_for_end() == 0
    line = "[OnNofityBtnClicked(100)]: CMainWin::OnNofityBtnClicked ID=5 \n"
    assert program.LOG.read_text() == line


def test_log_that_cannot_be_opened_does_no_harm(open_window):
    program.switch_debug_on("log")
    program.LOG.mkdir()
    window = open_window()
    window.ok.press()
    assert window.tool.wait_for_end() == 0
    assert window.tool.errors == f"{OPEN_ERROR}\n"
    program.LOG.rmdir()


@pytest.mark.parametrize("kind", ["a folder", "not readable", "full of text"])
def test_only_the_existence_of_a_switch_counts(open_window, kind):
    program.switch_debug_on("err")
    switch = program.SHARE / "bin" / "VeltranaDVXTools.err"
    if kind == "a folder":
        switch.unlink()
        switch.mkdir()
    elif kind == "not readable":
        switch.chmod(0o000)
    else:
        switch.write_text("off\n")
    window = open_window(wrapper=program.HEED_FILE_MODES)
    assert window.tool.errors.startswith("[Get_ll_CC(74)]: ")


def test_switches_are_looked_at_only_once(open_window):
    program.switch_debug_on("log")
    window = open_window()
    (program.SHARE / "bin" / "VeltranaDVXTools.log").unlink()
    program.switch_debug_on("err")
    window.cancel.press()
    assert window.tool.wait_for_end() == 0
    assert window.tool.errors == f"{OPEN_ERROR}\n"
    assert program.LOG.read_text().endswith("CMainWin::OnNofityBtnClicked ID=5 \n")


# --- what it says


def test_start_with_a_scanner(debug_lines, open_window, start_scanners):
    start_scanners(1)
    lines = open_window().tool.errors.splitlines()
    lines.remove(OPEN_ERROR)
    compare(lines, start_lines(SURVEY_LINES, LIST_LINES))


def test_start_with_settings(debug_lines, open_window):
    file = program.settings_file()
    file.parent.mkdir()
    file.write_text('scanpath="/srv"\nocrpath="/bin/true"\npcname="my pc"\npcListUp="0"\n')
    lines = open_window().tool.errors.splitlines()
    compare(
        lines[len(LANGUAGE_LINES) + 4 :],
        [
            "[setScanpath(294)]: CTabGeneral::setScanpath (/srv) ",
            "[setOcrpath(305)]: CTabGeneral::setOcrpath (/bin/true) ",
            "[setHostname(N)]: CTabNetwork::setHostname (mypc) ",
            "[setPCNameListUp(N)]: CTabNetwork::setPCNameListUp (0) ",
            "[OnInitDialog(N)]: CTabNetwork::OnInitDialog mypc",
            *EMPTY_LIST_LINES,
            *insertion("mypc"),
        ],
    )


def test_search(start_scanners, watch):
    start_scanners(1)
    window, reader = watch()
    window.run_search()
    end = "[search_thread(N)]: search_thread End"
    lines = reader.wait_for(len(SURVEY_LINES) + 2 + len(LIST_LINES))
    # The last line of the search's thread may come while the list is filled.
    ends = [line for line in lines if matches(line, end)]
    assert len(ends) == 1, lines
    lines.remove(ends[0])
    begin = "[search_thread(N)]: search_thread bCancel=0"
    compare(lines, [*SURVEY_LINES, begin, *LIST_LINES])


def test_cancelled_search(start_scanners, watch):
    start_scanners("[scanner Slow]\ndelay.model = 1000\n")
    window, reader = watch()
    window.begin_search().find("push button", "Cancel").press()
    window.wait_for_no_dialog()
    lines = window.tool.errors.splitlines()
    compare(
        [line for line in lines if "CDlgSearch" in line],
        [
            "[OnNofityBtnClicked(N)]: CDlgSearch::OnNofityBtnClicked ID=3",
            "[OnNofityBtnClicked(N)]: CDlgSearch::OnNofityBtnClicked ID_SEARCH_CANCEL",
        ],
    )


def test_typing_a_name(watch):
    window, reader = watch()
    window.name_entry.type_over("a b")
    reader.expect(*insertion("a b", "ab"))


def test_register(start_scanners, watch):
    start_scanners(1)
    window, reader = watch()
    window.name_entry.type_over("desk")
    reader.expect(*insertion("desk"))
    window.wait_for_apply()
    reader.expect(
        "[OnNofityBtnClicked(100)]: CMainWin::OnNofityBtnClicked ID=3 ",
        "[registerOneNetDevice(N)]: registerOneNetDevice ip=(10.77.0.101)",
        *INTERFACE_LINES,
        "[UdpCommandSendResponse(N)]: UdpCommandSendResponse (ipAddress=10.77.0.101) ",
        "[cmd_register(N)]: cmd_register:response.command=0xc4 (...",
        "[cmd_register(N)]: cmd_register:CMD_CLRG_REG_OK_RES=0xc4 (...",
        "[OnApply(N)]: i=0, m_iNumMachine=1",
    )


def test_register_on_scanners_that_do_not_take_it(start_scanners, watch):
    start_scanners(
        """
        [scanner Busy]
        reply_codes = D4
        [scanner Wrong]
        wrong_sequence = yes
        delay.discovery = 300
        """
    )
    window, reader = watch()
    window.list_up.press()
    window.list_up.press()
    window.wait_for_apply()
    exchange = "[UdpCommandSendResponse(N)]: UdpCommandSendResponse (ipAddress=10.77.0.10%d) "
    reader.expect(
        "[OnNofityBtnClicked(100)]: CMainWin::OnNofityBtnClicked ID=3 ",
        "[registerOneNetDevice(N)]: registerOneNetDevice ip=(10.77.0.101)",
        *INTERFACE_LINES,
        *[exchange % 1] * 3,
        "[cmd_register(N)]: cmd_register:response.command=0xd4 (...",
        "[cmd_register(N)]: cmd_register:CMD_CLRG_REG_OK_RES=0xc4 (...",
        "[OnApply(N)]: i=0, m_iNumMachine=2",
        "[registerOneNetDevice(N)]: registerOneNetDevice ip=(10.77.0.102)",
        *INTERFACE_LINES,
        exchange % 2,
        "[cmd_register(N)]: client register command failed",
        "[OnApply(N)]: i=1, m_iNumMachine=2",
    )


def test_unregister(start_scanners, watch):
    start_scanners(1)
    window, reader = watch()
    window.list_up.press()
    window.wait_for_apply()
    reader.expect(
        "[OnNofityBtnClicked(100)]: CMainWin::OnNofityBtnClicked ID=3 ",
        *INTERFACE_LINES,
        "[OnApply(N)]: i=0, m_iNumMachine=1",
    )


def test_ok(watch):
    window, reader = watch()
    window.ok.press()
    assert window.tool.wait_for_end() == 0
    reader.expect(
        "[OnNofityBtnClicked(100)]: CMainWin::OnNofityBtnClicked ID=4 ",
        "[OnNofityBtnClicked(112)]: ID_BTN_OK ",
    )


def test_window_manager_closes_the_window(watch):
    window, reader = watch()
    ManagedWindow.main_of(window.tool).close()
    assert window.tool.wait_for_end() == 0
    reader.expect("[OnDelete(93)]: CMainWin::OnDelete")


def test_folder_chooser(watch):
    scan = program.scan_folder()
    window, reader = watch()
    window.show_page(GENERAL)
    window.scan_browse.press()
    chooser = window.wait_for_dialog()
    reader.expect(f"[OnNofityBtnClicked(210)]: current_folder = {scan}")
    chooser.find("push button", "Cancel").press()
    reader.expect(f"[OnNofityBtnClicked(223)]: scanPath = {scan}")
    window.wait_for_no_dialog()
    window.scan_browse.press()
    chooser = window.wait_for_dialog()
    wait_until(lambda: chooser.find("toggle button", "Scan").checked, "the folder to be shown")
    chooser.find("push button", "OK").press()
    reader.expect(
        f"[OnNofityBtnClicked(210)]: current_folder = {scan}",
        f"[OnNofityBtnClicked(216)]: gtk_file_chooser_get_filename = {scan}",
        f"[OnNofityBtnClicked(223)]: scanPath = {scan}",
    )


def test_file_chooser(watch):
    window, reader = watch()
    window.show_page(GENERAL)
    window.ocr_entry.type_over("/bin/true")
    window.ocr_browse.press()
    chooser = window.wait_for_dialog()
    reader.expect("[OnNofityBtnClicked(249)]:  ID_OCR_BROWSE (/bin)=(/bin/true) ")
    chooser.find("push button", "Cancel").press()
    reader.expect("[OnNofityBtnClicked(259)]:  ID_OCR_BROWSE (/bin)=(/bin/true) ")


@pytest.mark.parametrize(
    "entry, line",
    [
        ("scan_entry", "[OnApply(349)]: OnApply szMsg=Save to : The specified path doesn't exist."),
        ("ocr_entry", "[OnApply(366)]: OnApply szMsg=OCR Path : The specified path doesn't exist."),
    ],
)
def test_refused_apply(watch, entry, line):
    window, reader = watch()
    getattr(window, entry).type_over("/no/such/path")
    window.apply.press()
    window.wait_for_dialog("alert")
    reader.expect("[OnNofityBtnClicked(100)]: CMainWin::OnNofityBtnClicked ID=3 ", line)


def test_settings_that_cannot_be_written(watch):
    program.settings_file().mkdir(parents=True)
    window, reader = watch()
    window.list_up.press()
    window.wait_for_apply()
    reader.expect(
        "[OnNofityBtnClicked(100)]: CMainWin::OnNofityBtnClicked ID=3 ",
        "CMainTabs::WriteFile() can't open file.",
        "[WriteFile(366)]: CMainTabs::WriteFile() can't open file.",
    )


def test_text_that_is_too_long_is_always_reported(open_window, start_scanners):
    """Of a failed question this is the only one that is reported, whatever the switches say."""
    start_scanners(f"[scanner Long]\nname = {'N' * 300}\nlength_form.name = left6\n")
    window = open_window()
    assert window.devices.rows() == []
    assert window.tool.errors == f"ERROR: snmp_get: RET_SNMP_PARAM_ERR\n{OPEN_ERROR}\n"


def test_every_line_has_the_same_beginning(open_network_page, start_scanners):
    program.switch_debug_on("log")
    start_scanners(2)
    window = open_network_page()
    window.show_page(NETWORK)
    window.run_search()
    window.name_entry.type_over("my desk")
    window.ok.press()
    assert window.tool.wait_for_end() == 0
    lines = program.LOG.read_text().splitlines()
    odd = [line for line in lines if not re.match(r"\[[A-Za-z_0-9]+\([1-9][0-9]*\)\]: ", line)]
    assert len(lines) > 60
    assert odd == []
