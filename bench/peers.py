"""Other programs that do the same work: their messages, and their questions to many scanners."""
import pathlib
import re
import subprocess
import time

import lab_network

FOLDER = pathlib.Path(__file__).resolve().parent / "peers"

# Model, vendor and name, which the survey asks for.
OBJECTS = ("1.3.6.1.4.1.731.1.2.1.2.0", "1.3.6.1.4.1.731.1.2.1.1.0", "1.3.6.1.2.1.1.5.0")
DISCOVERY = "1.3.6.1.4.1.731.405.1.1.1.3"

# How long slow scanners take to answer.
DELAY_MS = 2

PACKAGES = {
    "gosnmp": "golang-github-gosnmp-gosnmp-dev",
    "Botan": "libbotan-2-dev",
    "pysnmp": "python3-pysnmp4",
    "braa": "braa",
    "Net::SNMP": "libnet-snmp-perl",
}


def versions():
    """The peers' Debian packages: {name: "package version"}."""
    shown = {}
    for name, package in PACKAGES.items():
        command = ["dpkg-query", "--show", "--showformat=${Version}", package]
        done = subprocess.run(command, check=True, stdout=subprocess.PIPE, text=True)
        shown[name] = f"{package} {done.stdout}"
    return shown


# --- messages -----------------------------------------------------------------------------------


def messages(programs):
    """The bytes of the answers that everybody decodes, as NAME=HEX."""
    command = [programs.bench / "bench_timed", "--messages"]
    lines = subprocess.run(command, check=True, stdout=subprocess.PIPE, text=True).stdout
    return ["=".join(line.split()) for line in lines.splitlines() if line.split()[0] != "request"]


def codecs(programs, settings, timed):
    """Of each peer: {operation: {"ns": [...], "blocks": n, "bytes": n}}."""
    words = [settings.seconds, DISCOVERY, *messages(programs)]
    commands = {
        "gosnmp": [programs.bench / "gosnmp_peer", "codec", *words],
        "pysnmp": ["/usr/bin/python3", FOLDER / "pysnmp_codec.py", *words],
    }
    figures = {"Botan": timed(programs.bench / "bench_botan")}
    for peer, command in commands.items():
        figures[peer] = {}
        for _ in range(settings.repetitions):
            for line in lab_network.json_lines(*command):
                entry = figures[peer].setdefault(line.pop("name"), {"ns": []})
                entry["ns"].append(line.pop("ns"))
                entry.update(line)
    return figures


# --- many scanners ------------------------------------------------------------------------------


def last_address(count):
    return f"10.77.{(100 + count) // 256}.{(100 + count) % 256}"


def ask_with_braa(count):
    """All three objects in one request per scanner, which is how it asks for several."""
    objects = ",".join(f".{number}" for number in OBJECTS)
    query = f"public@10.77.0.101-{last_address(count)}:161:{objects}"
    begin = time.monotonic()
    done = subprocess.run(
        ["braa", "-v", "-t", "3", "-r", "1", "-d", "0", query],
        check=True,
        stdout=subprocess.PIPE,
        text=True,
    )
    seconds = time.monotonic() - begin
    if not re.search(rf"^{count} queries made, {count} queries acknowledged", done.stdout, re.M):
        raise RuntimeError(f"braa: {done.stdout.splitlines()[-1:]}")
    return {"seconds": seconds}


def ask_with(command):
    (figures,) = lab_network.json_lines(*command)
    return figures


def asking(programs, count):
    """Who asks, and the function that makes it ask once."""
    perl = ["perl", FOLDER / "net_snmp.pl"]
    go = [programs.bench / "gosnmp_peer"]
    rest = [count, *OBJECTS]
    return {
        "gosnmp, at once": lambda: ask_with([*go, "at_once", *rest]),
        "gosnmp, in turn": lambda: ask_with([*go, "in_turn", *rest]),
        "Net::SNMP, at once": lambda: ask_with([*perl, "at_once", *rest]),
        "Net::SNMP, in turn": lambda: ask_with([*perl, "in_turn", *rest]),
        "braa, at once": lambda: ask_with_braa(count),
        "survey": lambda: asked_by_survey(programs, count),
        "bare": lambda: lab_network.floor(programs, "survey", count, 1),
    }


def asked_by_survey(programs, count):
    """What the survey asks the scanners, without the search for them."""
    figures = lab_network.one_survey(programs, count)
    return {"seconds": figures["all"] - figures["gathering"]}


def ask_all(programs, count, runs, *scanner_settings):
    """Everybody asks, by turns: {who: {figure: [...]}}."""
    figures = {}
    with lab_network.scanners(programs, count, *scanner_settings):
        for _ in range(runs):
            for who, ask in asking(programs, count).items():
                lab_network.add(figures.setdefault(who, {}), ask())
    return figures


def measure(programs, settings):
    lab_network.share_one_processor()
    count = settings.peer_size
    return {
        "scanners": count,
        "peers": ask_all(programs, count, settings.runs),
        # What asking in turn costs with scanners that take their time.
        "slow": ask_all(programs, count, settings.slow_runs, "--set", f"delay={DELAY_MS}"),
    }
