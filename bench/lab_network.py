"""Surveys and registrations in the lab, each beside the least that its datagrams can cost.

Runs inside script/lab, see run.py. Ours, the floor and the peers take turns, so that whatever else
the machine does meets all of them.
"""
import contextlib
import json
import os
import pathlib
import re
import subprocess
import tempfile

from desktop_driver.waiting import wait_until


@contextlib.contextmanager
def scanners(programs, count, *settings):
    """So many simulated scanners that answer at once, or as their settings say. Unlike those of the
    tests they write no log, which would be a part of every round trip."""
    with tempfile.TemporaryDirectory() as folder:
        ready = pathlib.Path(folder) / "ready"
        command = ["nice", "-n", "-20", "lab-office", programs.simulator, "--quiet"]
        command += ["--scanners", count, "--network", "10.77.0.0/16", "--ready-file", ready]
        command += settings
        simulator = subprocess.Popen([str(word) for word in command], stdin=subprocess.DEVNULL)
        try:
            wait_until(lambda: ready.exists() or simulator.poll() is not None, "the scanners")
            if simulator.poll() is not None:
                raise RuntimeError(f"scanner-sim ended with status {simulator.returncode}")
            yield
        finally:
            simulator.terminate()
            simulator.wait()


def json_lines(*command, environment=None):
    words = [str(word) for word in command]
    done = subprocess.run(words, check=True, stdout=subprocess.PIPE, text=True, env=environment)
    return [json.loads(line) for line in done.stdout.splitlines()]


def floor(programs, kind, count, rounds):
    """Seconds of the bare datagrams: {"in_turn": [...], "own_sockets": [...], ...}."""
    figures = {}
    for line in json_lines(programs.bench / "bench_floor", kind, count, rounds):
        figures.setdefault(line["what"], []).append(line["seconds"])
    return figures


def add(figures, more):
    for name, values in more.items():
        figures.setdefault(name, []).extend(values if isinstance(values, list) else [values])


def system_calls(program, *arguments):
    """How often a run calls the kernel: {name: count}, with "all" for all of them."""
    with tempfile.NamedTemporaryFile("r") as report:
        subprocess.run(
            ["strace", "-c", "-f", "-o", report.name, str(program), *map(str, arguments)],
            check=True,
            stdout=subprocess.DEVNULL,
        )
        calls = {}
        for line in report.read().splitlines():
            if found := re.match(r" *[\d.]+ +[\d.]+ +\d+ +(\d+) +(?:\d+ +)?(\w+)$", line):
                calls[found[2]] = int(found[1])
    calls["all"] = calls.pop("total")
    return calls


def one_survey(programs, count):
    (figures,) = json_lines(programs.bench / "bench_survey")
    if figures["count"] != count:
        raise RuntimeError(f"a survey found {figures['count']} of {count} scanners")
    return figures


def survey(programs, count, runs):
    ours, bare = {}, {}
    with scanners(programs, count):
        for _ in range(runs):
            add(ours, one_survey(programs, count))
            add(bare, floor(programs, "survey", count, 1))
        calls = system_calls(programs.bench / "bench_survey")
    return {"ours": ours, "floor": bare, "calls": calls}


def registration(programs, count, runs):
    ours, bare = {}, {}
    with scanners(programs, count):
        for _ in range(runs):
            (figures,) = json_lines(programs.bench / "bench_registration", count)
            add(ours, figures)
            add(bare, floor(programs, "registration", count, 3))
        calls = system_calls(programs.bench / "bench_registration", count)
    return {"ours": ours, "floor": bare, "calls": calls}


def share_one_processor():
    """Keeps this process, and all that it starts, on one processor.

    With a processor each, every datagram wakes an idle one, which takes up to three times as long
    as the exchange itself, or does not, from one run to the next. On one processor a round trip
    takes least, so that what is not a round trip weighs most.
    """
    os.sched_setaffinity(0, {min(os.sched_getaffinity(0))})


def measure(programs, settings):
    share_one_processor()
    return {
        "survey": {n: survey(programs, n, settings.runs) for n in settings.survey_sizes},
        "registration": {
            n: registration(programs, n, settings.runs) for n in settings.registration_sizes
        },
    }
