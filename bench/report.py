"""Writes the tables and the plots of docs/performance.md from the raw results."""
import json
import pathlib
import re
import subprocess
import tempfile

import figures as figures_of
from statistics_of import Sample

PARTS = ("run", "operations", "network", "peers", "window")
MS = 1e3
US = 1e6


def table(titles, rows):
    """A table of Markdown: the first column to the left, the others to the right."""
    lines = ["| " + " | ".join(titles) + " |", "|---" + "|---:" * (len(titles) - 1) + "|"]
    lines += ["| " + " | ".join(map(str, row)) + " |" for row in rows]
    return "\n".join(lines)


def run_table(figures):
    return table(["", ""], figures.run.items()).replace("|---:|", "|---|", 1)


def goal_table(figures):
    rows = [
        [goal.what, goal.limit, f"**{goal.value}**", "yes" if goal.is_met else "no"]
        for goal in figures_of.goals(figures)
    ]
    return table(["What", "Wanted", "Measured", "Met"], rows)


def survey_table(figures):
    titles = ["Scanners", "all ÷ floor", "asking ÷ round trips", "asking ÷ with own sockets"]
    titles += ["all, s", "asking, ms", "round trips, ms", "warm, ms", "at once, ms"]
    titles += ["processor, ms", "peak, MB"]
    rows = [
        [
            survey.count,
            survey.all.over(survey.floor).show(digits=3),
            survey.asking.over(survey.in_turn).show(),
            survey.asking.over(survey.own_sockets).show(),
            survey.all.show(digits=3),
            survey.asking.show(MS),
            survey.in_turn.show(MS),
            survey.warm.show(MS),
            survey.at_once.show(MS),
            survey.processor.show(MS),
            f"{survey.peak_kib.median * 1024 / 1e6:.1f}",
        ]
        for survey in figures.surveys
    ]
    return table(titles, rows)


def registration_table(figures):
    titles = ["Scanners", "all ÷ round trips", "all ÷ with own sockets", "all ÷ with queries too"]
    titles += ["all, ms", "round trips, ms", "processor, ms", "peak, MB"]
    rows = [
        [
            one.count,
            one.all.over(one.in_turn).show(),
            one.all.over(one.own_sockets).show(),
            one.all.over(one.with_queries).show(),
            one.all.show(MS),
            one.in_turn.show(MS),
            one.processor.show(MS),
            f"{one.peak_kib.median * 1024 / 1e6:.1f}",
        ]
        for one in figures.registrations
    ]
    return table(titles, rows)


def call_table(figures):
    kinds = {"Survey": figures.surveys, "Registration": figures.registrations}
    rows = []
    for what, measured in kinds.items():
        calls = figures_of.calls_per_scanner(measured)
        total = calls.pop("all")
        single = ", ".join(f"{name} {count:.2g}" for name, count in sorted(calls.items()))
        rows.append([what, f"{total:.1f}", single])
    return table(["", "System calls per scanner", "Which"], rows)


def window_table(figures):
    ours, bare, text = (figures.start(kind) for kind in ("ours", "bare", "text"))
    rows = [
        [
            "Start to painted window, less the survey",
            ours.over(bare).show(),
            ours.show(MS),
            bare.show(MS),
        ],
        [
            "The same, beside a bare window with the same kinds of controls",
            ours.over(text).show(),
            ours.show(MS),
            text.show(MS),
        ],
    ]
    names = {
        "search": ("Search: first repaint", "first"),
        "search ": ("Search: dialog painted", "painted"),
        "keys": ("Key press in an entry to its repaint", "painted"),
        "scroll": ("A page of 256 rows further", "painted"),
        "scroll ": ("The page with 256 rows shown for the first time", "page"),
    }
    for part, (what, figure) in names.items():
        measured = figures.window[part.strip()]
        ours, bare = (Sample(measured[kind][figure]) for kind in ("ours", "bare"))
        ratio = f"{ours.median / bare.median:.2f}"
        rows.append([what, ratio, ours.show(MS), bare.show(MS)])
    return table(["", "ratio", "program, ms", "bare GTK, ms"], rows)


def start_table(figures):
    filled = figures.window["starts_with_rows"]["ours"]
    rows = []
    for what, measured in {
        "no scanner": figures.window["starts"]["ours"],
        "256 scanners": filled,
    }.items():
        parts = [Sample(measured[name]).show(MS, 1) for name in ("before", "after", "all")]
        memory = Sample(measured["peak_kib"]).median * 1024 / 1e6
        rows.append([f"Program, {what}", *parts, f"{memory:.1f}"])
    for kind, what in {"bare": "Bare window", "text": "Bare window with controls"}.items():
        memory = figures.start(kind, "peak_kib").median * 1024 / 1e6
        rows.append([what, "", "", figures.start(kind).show(MS, 1), f"{memory:.1f}"])
    titles = ["", "before the survey, ms", "after it, ms", "both, ms", "peak, MB"]
    return table(titles, rows)


def asking_table(peers, reference):
    """Who asks how long, in terms of bare datagrams in turn or at once."""
    names = {"survey": "the survey's questions, in turn"}
    who = {names.get(n, n): Sample(v["seconds"]) for n, v in peers.items() if n != "bare"}
    bare = {
        "in turn": "in_turn",
        "own sockets, in turn": "own_sockets",
        "at once": "at_once",
    }
    who |= {f"bare datagrams, {what}": Sample(peers["bare"][key]) for what, key in bare.items()}
    unit = who[f"bare datagrams, {reference}"].median
    rows = [
        [name, f"{sample.median / unit:.2f}", sample.show(MS)]
        for name, sample in sorted(who.items(), key=lambda item: item[1].median)
    ]
    return table(["Who", f"÷ bare, {reference}", "ms"], rows)


def peer_table(figures):
    return asking_table(figures.peers["peers"], "in turn")


def slow_table(figures):
    return asking_table(figures.peers["slow"], "at once")


def codec_table(figures):
    ours = {"encode": "snmp_build", "short": "snmp_parse/short", "longest": "snmp_parse/longest"}
    what = {"encode": "encode the search's request", "short": "decode a short answer"}
    what["longest"] = "decode the longest answer"
    rows = []
    for theirs, name in ours.items():
        own = figures.operation(name).median
        entry = figures.operations[name]
        rows.append(
            [
                what[theirs],
                f"`{name}`",
                "1",
                figures.operation(name).show(digits=0),
                entry["blocks"],
                entry["bytes"],
            ]
        )
        for peer, codec in figures.codecs.items():
            sample = Sample(codec[theirs]["ns"])
            rows.append(
                [
                    what[theirs],
                    peer,
                    f"{sample.median / own:.1f}",
                    sample.show(digits=0),
                    codec[theirs].get("blocks", ""),
                    codec[theirs].get("bytes", ""),
                ]
            )
    return table(["", "Who", "÷ ours", "ns", "blocks", "bytes"], rows)


def operation_rows(figures, wanted):
    for name, entry in figures.operations.items():
        if not wanted(name):
            continue
        sample = Sample(entry["ns"])
        digits = 1 if sample.median < 100 else 0
        yield [
            f"`{name}`",
            sample.show(digits=digits),
            entry["instructions"],
            entry["blocks"],
            entry["bytes"],
        ]


def is_codec(name):
    return name.startswith(("asn_", "snmp_", "oid_", "net_"))


OPERATION_TITLES = ["Operation", "ns", "own instructions", "heap blocks", "heap bytes"]


def operation_table(figures):
    return table(OPERATION_TITLES, operation_rows(figures, is_codec))


def growing_table(figures):
    """As operation_table, with what each record costs."""
    rows = []
    for row in operation_rows(figures, lambda name: not is_codec(name)):
        name, size = row[0].strip("`").rsplit("/", 1)
        each = figures.operation(f"{name}/{size}").median / max(int(size), 1)
        rows.append([f"`{name}`", size, f"{each:.1f}", *row[1:]])
    return table(["Operation", "Records", "ns per record", *OPERATION_TITLES[1:]], rows)


TABLES = {
    "run": run_table,
    "goals": goal_table,
    "survey": survey_table,
    "registration": registration_table,
    "calls": call_table,
    "window": window_table,
    "start": start_table,
    "peers": peer_table,
    "slow": slow_table,
    "codecs": codec_table,
    "operations": operation_table,
    "growing": growing_table,
}


def fill(page, figures):
    """The page with every table between its markers replaced."""

    def replace(found):
        return f"{found[1]}\n{TABLES[found[2]](figures)}\n{found[3]}"

    pattern = re.compile(r"(<!-- table: (\w+) -->)\n.*?(<!-- end of table -->)", re.S)
    present = [found[1] for found in pattern.findall(page)]
    if sorted(present) != sorted(TABLES):
        raise RuntimeError(f"the page has the tables {sorted(present)}, not {sorted(TABLES)}")
    return pattern.sub(replace, page)


# --- plots --------------------------------------------------------------------------------------

STYLE = """
set terminal svg noenhanced size 720,400 font "sans-serif,12" background "#ffffff"
set border 3 lc rgb "#555555"
set tics nomirror
set grid ytics lc rgb "#dddddd"
"""
COLOURS = ["#1f5f8b", "#c0562f", "#6b8e23", "#8a6d9e", "#888888"]


def plot(path, commands, **blocks):
    """Runs gnuplot with blocks of data that the commands name $name."""
    with tempfile.NamedTemporaryFile("w", suffix=".plt") as script:
        script.write(STYLE + f'set output "{path}"\n')
        for name, rows in blocks.items():
            lines = [" ".join(map(str, row)) for row in rows]
            script.write(f"${name} << EOD\n" + "\n".join(lines) + "\nEOD\n")
        script.write(commands)
        script.flush()
        subprocess.run(["gnuplot", script.name], check=True)


def plot_survey(folder, figures):
    rows = [
        [
            survey.count,
            *(1e3 * value for value in (survey.asking.median, *survey.asking.quartiles)),
            survey.own_sockets.median * MS,
            survey.in_turn.median * MS,
            survey.at_once.median * MS,
        ]
        for survey in figures.surveys
    ]
    plot(
        folder / "performance-survey.svg",
        f"""
set logscale xy
set xlabel "scanners"
set ylabel "milliseconds after the quiet wait"
set key left top
set xtics (1, 4, 16, 64, 256)
set xrange [0.8:320]
plot $d using 1:2:3:4 with yerrorbars lc rgb "{COLOURS[0]}" pt 7 ps 0.5 notitle, \\
  $d using 1:2 with lines lw 2 lc rgb "{COLOURS[0]}" title "survey", \\
  $d using 1:5 with lines lw 2 dt 2 lc rgb "{COLOURS[1]}" title "bare, each with its own socket", \\
  $d using 1:6 with lines lw 2 lc rgb "{COLOURS[2]}" title "bare, one open socket", \\
  $d using 1:7 with lines lw 2 lc rgb "{COLOURS[3]}" title "bare, at once (warm)"
""",
        d=rows,
    )


def bars(path, label, named, log=False):
    """One bar per name."""
    rows = [[i, value, f'"{name}"'] for i, (name, value) in enumerate(named.items())]
    plot(
        path,
        f"""
{"set logscale y" if log else "set yrange [0:*]"}
set ylabel "{label}"
set style fill solid 0.9 noborder
set boxwidth 0.6
set xtics rotate by -25
set rmargin 8
plot $d using 1:2:xtic(3) with boxes lc rgb "{COLOURS[0]}" notitle, \\
  $d using 1:2:(sprintf($2 < 100 ? "%.1f" : "%.0f", $2)) with labels offset 0,0.7 notitle
""",
        d=rows,
    )


def plot_codecs(folder, figures):
    named = {"snmp_parse": figures.operation("snmp_parse/short").median}
    named |= {peer: Sample(codec["short"]["ns"]).median for peer, codec in figures.codecs.items()}
    bars(folder / "performance-codecs.svg", "ns to decode a short answer", named, log=True)


def plot_peers(folder, figures):
    peers = figures.peers["peers"]
    named = {"bare, at once": Sample(peers["bare"]["at_once"]).median * MS}
    named["bare, in turn"] = Sample(peers["bare"]["in_turn"]).median * MS
    named |= {
        who: Sample(values["seconds"]).median * MS for who, values in peers.items() if who != "bare"
    }
    label = f"ms to ask {figures.peers['scanners']} scanners"
    bars(folder / "performance-peers.svg", label, dict(sorted(named.items(), key=lambda i: i[1])))


class NoResults(Exception):
    """There is nothing to report on."""


def read_results(folder):
    missing = [part for part in PARTS if not (folder / f"{part}.json").exists()]
    if missing:
        raise NoResults(f"no results of {', '.join(missing)} in {folder}: run script/bench")
    return {part: json.loads((folder / f"{part}.json").read_text()) for part in PARTS}


def write(results: pathlib.Path, docs: pathlib.Path, images: pathlib.Path):
    """Fills the page in docs, and makes the plots in images."""
    figures = figures_of.Figures(read_results(results))
    page = docs / "performance.md"
    page.write_text(fill(page.read_text(), figures))
    for make in (plot_survey, plot_codecs, plot_peers):
        make(images, figures)
