"""The program's window on the lab's display, beside windows of GTK that do nothing.

Runs inside script/lab --display, see run.py.
"""
import contextlib
import os
import struct
import tempfile

import lab_network

CLOCK = struct.Struct("dd")  # what bench_survey_clock writes


@contextlib.contextmanager
def survey_clock(programs):
    """The environment in which a program's survey is timed, and the file with its times."""
    with tempfile.NamedTemporaryFile() as times:
        library = programs.bench / "libbench_survey_clock.so"
        yield {"LD_PRELOAD": str(library), "BENCH_SURVEY_CLOCK": times.name}, times


def watch(programs, scenario, rounds, *command, environment=None):
    words = [programs.bench / "bench_window", scenario, rounds, *command]
    return lab_network.json_lines(*words, environment={**os.environ, **(environment or {})})


def start(programs, *command):
    """One start: seconds to the painted window without the survey, and peak memory."""
    with survey_clock(programs) as (environment, times):
        times.write(bytes(CLOCK.size))
        times.flush()
        # The watching program would wait for the network, and be timed, as well.
        wrapped = ["/usr/bin/env", *(f"{name}={value}" for name, value in environment.items())]
        (seen,) = watch(programs, "start", 1, *wrapped, *command)
        times.seek(0)
        begin, end = CLOCK.unpack(times.read(CLOCK.size))
    painted = seen["start"] + seen["painted"]
    # Without the library that notes the times, which takes memory too.
    (alone,) = watch(programs, "start", 1, *command)
    figures = {"peak_kib": alone["peak_kib"], "with_survey": seen["painted"]}
    figures["all"] = seen["painted"] - (end - begin)
    if begin:
        figures |= {"before": begin - seen["start"], "after": painted - end}
    return figures


def starts(programs, settings):
    kinds = {"ours": [programs.tool], "bare": [programs.bench / "bench_bare_window"]}
    kinds["text"] = [programs.bench / "bench_bare_window", 1]
    return by_turns(kinds, settings.starts, lambda command: start(programs, *command))


def starts_with_rows(programs, settings):
    """Starts of the program with scanners to be shown and without."""
    with lab_network.scanners(programs, settings.rows):
        return by_turns({"ours": [programs.tool]}, settings.starts, lambda c: start(programs, *c))


def by_turns(kinds, rounds, measure):
    """Measures each kind once, without counting it, and then rounds times: {kind: {figure: [..]}}."""
    figures = {kind: {} for kind in kinds}
    for command in kinds.values():
        measure(command)
    for _ in range(rounds):
        for kind, command in kinds.items():
            lab_network.add(figures[kind], measure(command))
    return figures


def scenario(programs, name, rounds, rows):
    figures = {}
    bare = [programs.bench / "bench_bare_window", rows]
    for kind, command in {"ours": [programs.tool], "bare": bare}.items():
        figures[kind] = {}
        for line in watch(programs, name, rounds, *command):
            lab_network.add(figures[kind], line)
    return figures


def measure(programs, settings):
    results = {
        "starts": starts(programs, settings),
        "keys": scenario(programs, "keys", settings.keys, 1),
        "search": scenario(programs, "search", settings.searches, 1),
        "starts_with_rows": starts_with_rows(programs, settings),
    }
    with lab_network.scanners(programs, settings.rows):
        results["scroll"] = scenario(programs, "scroll", settings.scrolls, settings.rows)
    return results
