"""A debug log that cannot be written, through a whole use of the program."""
import os
import subprocess

import failing
import pytest

from desktop_driver import program
from desktop_driver.main_window import NETWORK
from desktop_driver.waiting import wait_until

LAST = "[OnNofityBtnClicked(112)]: ID_BTN_OK \n"


@pytest.fixture
def place(tmp_path):
    """A folder for what stands in place of the log; what is mounted there goes away again."""
    folder = tmp_path / "place"
    folder.mkdir()
    yield folder
    if os.path.ismount(folder):
        subprocess.run(["umount", "--lazy", folder], check=True)


def use(window):
    """A search, an Apply and the end, with lines from both threads."""
    window.show_page(NETWORK)
    window.run_search()
    assert window.scanner_names() == ["Reception"]
    window.name_entry.type_over("front-desk")
    window.ok.press()
    assert window.tool.wait_for_end() == 0
    assert window.tool.errors == failing.OPEN_ERROR


def a_folder(_place):
    program.LOG.mkdir()


def a_closed_file(_place):
    program.LOG.write_text("from earlier\n")
    program.LOG.chmod(0o444)


def a_link_to_nowhere(place):
    program.LOG.symlink_to(place / "missing" / "log")


def a_link_to_itself(_place):
    program.LOG.symlink_to(program.LOG)


def a_full_device(_place):
    program.LOG.symlink_to("/dev/full")


def a_full_disk(place):
    subprocess.run(["mount", "-t", "tmpfs", "-o", "nr_inodes=1", "tmpfs", place], check=True)
    program.LOG.symlink_to(place / "log")


def a_read_only_disk(place):
    subprocess.run(["mount", "-t", "tmpfs", "-o", "ro", "tmpfs", place], check=True)
    program.LOG.symlink_to(place / "log")


def a_pipe(_place):
    os.mkfifo(program.LOG)


CANNOT_BE_WRITTEN = (
    a_folder,
    a_closed_file,
    a_link_to_nowhere,
    a_link_to_itself,
    a_full_device,
    a_full_disk,
    a_read_only_disk,
    a_pipe,
)


@pytest.mark.parametrize("make", CANNOT_BE_WRITTEN, ids=lambda make: make.__name__)
def test_log_that_cannot_be_written_loses_its_lines(open_window, start_scanners, place, make):
    program.switch_debug_on("log")
    start_scanners(1)
    make(place)
    try:
        use(open_window(wrapper=program.HEED_FILE_MODES))
        if make is a_closed_file:
            assert program.LOG.read_text() == "from earlier\n"
    finally:
        if program.LOG.is_dir():
            program.LOG.rmdir()


def test_log_that_becomes_writable_gets_the_lines_from_then_on(open_window):
    program.switch_debug_on("log")
    program.LOG.mkdir()
    window = open_window()
    program.LOG.rmdir()
    window.ok.press()
    assert window.tool.wait_for_end() == 0
    lines = program.LOG.read_text()
    assert lines.startswith("[OnNofityBtnClicked(100)]: CMainWin::OnNofityBtnClicked ID=4 \n")
    assert lines.endswith(LAST)


def test_reader_of_a_pipe_gets_the_lines(open_window):
    program.switch_debug_on("log")
    os.mkfifo(program.LOG)
    reader = os.open(program.LOG, os.O_RDONLY | os.O_NONBLOCK)
    window = open_window()
    window.ok.press()
    assert window.tool.wait_for_end() == 0
    lines = os.read(reader, 1 << 16).decode()
    os.close(reader)
    assert lines.startswith("[Get_ll_CC(74)]: ")
    assert lines.endswith(LAST)


def test_pipe_that_nobody_empties_does_not_stop_the_program(open_window):
    program.switch_debug_on("log")
    os.mkfifo(program.LOG)
    reader = os.open(program.LOG, os.O_RDONLY | os.O_NONBLOCK)
    writer = os.open(program.LOG, os.O_WRONLY | os.O_NONBLOCK)
    with pytest.raises(BlockingIOError):
        while True:
            os.write(writer, bytes(512))
    window = open_window()
    window.ok.press()
    assert window.tool.wait_for_end() == 0
    os.close(reader)
    os.close(writer)


@pytest.fixture
def full_pipe(tmp_path):
    """A pipe that others hold open too, and that takes nothing more."""
    path = tmp_path / "errors"
    os.mkfifo(path)
    reader = os.open(path, os.O_RDONLY | os.O_NONBLOCK)
    writer = os.open(path, os.O_WRONLY | os.O_NONBLOCK)
    with pytest.raises(BlockingIOError):
        while True:
            os.write(writer, bytes(4096))
    yield path
    os.close(reader)
    os.close(writer)


# What is not a debug line waits as ever, so there are settings, and nothing to say about them.
def test_standard_error_that_nobody_reads_does_not_stop_the_program(
    open_network_page, start_scanners, full_pipe
):
    program.switch_debug_on("err")
    program.settings_file().parent.mkdir()
    program.settings_file().write_text('pcListUp="1"\n')
    peers = start_scanners("[scanner Slow]\ndelay.model = 2500\n")
    wrapper = ["sh", "-c", 'errors=$1; shift; exec "$@" 2>"$errors"', "sh", str(full_pipe)]
    window = open_network_page(wrapper=wrapper)
    assert window.scanner_names() == ["Slow"]
    dialog = window.begin_search()
    wait_until(lambda: len(peers.asked("model")) == 2, "the question that takes long")
    dialog.find("push button", "Cancel").press()
    window.wait_for_no_dialog()
    window.ok.press()
    assert window.tool.wait_for_end() == 0
    assert 'pcListUp="1"\n' in program.settings_file().read_text()


def test_standard_error_on_a_full_disk(open_window):
    program.switch_debug_on("err")
    window = open_window(wrapper=["sh", "-c", 'exec "$@" 2>/dev/full', "sh"])
    window.ok.press()
    assert window.tool.wait_for_end() == 0
    assert program.settings_file().exists()
