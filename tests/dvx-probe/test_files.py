"""What is installed with dvx-probe: manual page, completion for bash, links."""
import os
import pathlib
import re
import subprocess

import pytest

TOP = pathlib.Path(__file__).resolve().parents[2]
MANUAL = TOP / "data" / "man" / "dvx-probe.1"
COMPLETION = TOP / "data" / "completion" / "dvx-probe"
PROBE = os.environ["VELTRANA_PROBE"]
COMMANDS = ("list", "register", "unregister", "explain")


def output(*command, **keywords):
    done = subprocess.run(
        command, capture_output=True, text=True, check=True, timeout=60, **keywords
    )
    return done.stdout, done.stderr


def options_of(command):
    """The options that the help of a command shows."""
    text, _errors = output(PROBE, command, "--help")
    return set(re.findall(r"^  (--[a-z-]+)", text, re.MULTILINE))


def test_manual_page_is_clean():
    environment = {**os.environ, "LC_ALL": "C.UTF-8", "MANWIDTH": "80", "MANROFFSEQ": ""}
    command = ("man", "--warnings", "--local-file", "--encoding=UTF-8", "--troff-device=utf8")
    text, errors = output(*command, MANUAL, env=environment)
    assert errors == ""
    assert "dvx-probe" in text


def test_manual_page_knows_every_option_and_finding():
    text = MANUAL.read_text().replace("\\-", "-")
    for command in COMMANDS:
        assert f".B dvx-probe {command}\n" in text
        for option in options_of(command):
            assert option in text, (command, option)
    findings = re.findall(r'\{\s*"([a-z-]+)",', (TOP / "dvx-probe/findings.cc").read_text())
    assert len(set(findings)) == 15
    findings += ["silent-scanner", "silent-object", "all-well"]
    for finding in findings:
        assert f"\n.B {finding}\n" in text, finding


def completed(*words):
    """What bash offers for the last of these words."""
    script = """
source "$1"; shift
COMP_WORDS=(dvx-probe "$@") COMP_CWORD=$#
_dvx_probe dvx-probe "${COMP_WORDS[COMP_CWORD]}" ""
printf '%s\\n' "${COMPREPLY[@]}"
"""
    text, errors = output("bash", "-c", script, "bash", COMPLETION, *words)
    assert errors == ""
    return set(text.split())


def test_commands_are_completed():
    assert completed("") == {*COMMANDS, "--help", "--version"}
    assert completed("un") == {"unregister"}
    assert completed("--v") == {"--version"}


@pytest.mark.parametrize("command", COMMANDS)
def test_options_of_each_command_are_completed(command):
    assert completed(command, "--") == options_of(command)


def test_files_and_interfaces_are_completed(tmp_path):
    (tmp_path / "trace-of-today").touch()
    assert completed("list", "--trace", f"{tmp_path}/tra") == {f"{tmp_path}/trace-of-today"}
    assert "lo" in completed("list", "--interface", "")
    assert completed("list", "--address", "") == set()


def test_bash_loads_the_completion():
    text, _errors = output("bash", "-c", f'source "{COMPLETION}"; complete -p dvx-probe')
    assert text == "complete -F _dvx_probe dvx-probe\n"
