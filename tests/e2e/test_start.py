"""Each program starts and does the least that it is for, on every kind of machine."""
import os
import subprocess

import probe

from desktop_driver.waiting import wait_until
from desktop_driver.xwindows import run, window_ids


def test_simulator_tells_how_it_is_used():
    done = subprocess.run(
        [os.environ["VELTRANA_SCANNER_SIM"], "--help"],
        capture_output=True,
        text=True,
        timeout=60,
        check=True,
    )
    assert done.stdout.startswith("Usage: scanner-sim ")
    assert done.stderr == ""


def test_probe_tells_its_version():
    assert probe.results("--version").startswith("dvx-probe ")


def test_probe_lists_a_scanner(start_scanners):
    start_scanners("[scanner Third floor]\n")
    lines = probe.results("list", "--csv").splitlines()
    assert lines[1:] == ["Veltrana T55,Third floor,10.77.0.101,02:56:53:00:00:65"]


def test_program_opens_its_window_and_ends_with_it(start_program):
    tool = start_program()
    wait_until(lambda: window_ids(tool.process.pid), "the window", 60)
    (window,) = window_ids(tool.process.pid)
    assert "Veltrana DVX Tools" in run("xdotool", "getwindowname", str(int(window, 16)))
    run("wmctrl", "-ic", window)
    assert tool.wait_for_end(60) == 0
