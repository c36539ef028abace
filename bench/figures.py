"""What follows from the raw results: the ratios that are looked at, and the limits for them."""
from statistics_of import Sample

# What a line of the list of goals says, and its limit.
SURVEY_LIMIT = 1.05
ASKING_LIMIT = 1.5
GROWTH_LIMIT = 0.05
CODEC_LIMIT = 3.0
START_LIMIT = 1.2
MEMORY_LIMIT_MB = 6.0
REGISTRATION_LIMIT = 1.1


class Survey:
    """The surveys of one number of scanners."""

    def __init__(self, count, results):
        self.count = int(count)
        ours, floor = results["ours"], results["floor"]
        self.all = Sample(ours["all"])
        runs = len(self.all.values)
        self.gathering = Sample(ours["gathering"])
        self.asking = Sample(a - b for a, b in zip(ours["all"], ours["gathering"]))
        self.in_turn = Sample(floor["asking"])
        self.own_sockets = Sample(floor["asking_own_sockets"])
        self.warm = Sample(floor["in_turn"]).per_run(runs)
        self.at_once = Sample(floor["at_once"]).per_run(runs)
        self.floor = Sample(a + b for a, b in zip(floor["gathering"], floor["asking"]))
        self.processor = Sample(ours["processor"])
        self.peak_kib = Sample(ours["peak_kib"])
        self.calls = results["calls"]


class Registration:
    """The registrations on one number of scanners."""

    def __init__(self, count, results):
        self.count = int(count)
        self.all = Sample(results["ours"]["all"])
        runs = len(self.all.values)
        self.in_turn = Sample(results["floor"]["in_turn"]).per_run(runs)
        self.own_sockets = Sample(results["floor"]["own_sockets"]).per_run(runs)
        self.with_queries = Sample(results["floor"]["with_queries"]).per_run(runs)
        self.processor = Sample(results["ours"]["processor"])
        self.peak_kib = Sample(results["ours"]["peak_kib"])
        self.calls = results["calls"]


def calls_per_scanner(measured):
    """How many system calls each further scanner costs, by name; measured from few to many."""
    few, many = measured[0], measured[-1]
    more = many.count - few.count
    return {
        name: (count - few.calls.get(name, 0)) / more
        for name, count in many.calls.items()
        if count - few.calls.get(name, 0) >= more / 2
    }


class Figures:
    """Everything that is shown, from the results of all parts."""

    def __init__(self, results):
        self.run = results["run"]
        operations = results["operations"]
        self.operations = operations["operations"]
        self.codecs = operations["peers"]
        self.surveys = [Survey(n, r) for n, r in results["network"]["survey"].items()]
        self.registrations = [
            Registration(n, r) for n, r in results["network"]["registration"].items()
        ]
        self.peers = results["peers"]
        self.window = results["window"]

    def operation(self, name):
        return Sample(self.operations[name]["ns"])

    def codec_ratios(self):
        """How many times faster ours are than the best peer: {our operation: (peer, ratio)}."""
        pairs = {
            "snmp_build": "encode",
            "snmp_parse/short": "short",
            "snmp_parse/longest": "longest",
        }
        ratios = {}
        for ours, theirs in pairs.items():
            times = {
                peer: Sample(codec[theirs]["ns"]).median for peer, codec in self.codecs.items()
            }
            best = min(times, key=times.get)
            ratios[ours] = best, times[best] / self.operation(ours).median
        return ratios

    def start(self, kind, figure="all"):
        return Sample(self.window["starts"][kind][figure])

    def growth_of(self, name, few, many):
        """How much more a record of many costs than one of few."""
        per_record = [self.operation(f"{name}/{n}").median / n for n in (few, many)]
        return per_record[1] / per_record[0]


class Goal:
    """One line of what is wanted."""

    def __init__(self, what, limit, value, is_met):
        self.what = what
        self.limit = limit
        self.value = value
        self.is_met = is_met


def goals(figures):
    """Every goal with what was measured."""
    by_count = {survey.count: survey for survey in figures.surveys}
    many, some = by_count[256], by_count[64]
    whole = many.all.over(many.floor)
    asking = many.asking.over(many.in_turn)
    growth = (many.asking.median / 256) / (some.asking.median / 64)
    bare_growth = (many.in_turn.median / 256) / (some.in_turn.median / 64)
    yield Goal(
        "Survey of 256 scanners, all of it ÷ its floor",
        f"≤ {SURVEY_LIMIT}",
        whole.show(digits=3),
        whole.median <= SURVEY_LIMIT,
    )
    yield Goal(
        "The same after the quiet wait ÷ bare round trips on one open socket",
        f"≤ {ASKING_LIMIT}",
        asking.show(),
        asking.median <= ASKING_LIMIT,
    )
    yield Goal(
        "Time per scanner after the quiet wait, 256 scanners ÷ 64",
        f"1 ± {GROWTH_LIMIT}",
        f"{growth:.3f}",
        abs(growth - 1) <= GROWTH_LIMIT,
    )
    relative = growth / bare_growth
    yield Goal(
        "The same ÷ that of the bare round trips",
        f"1 ± {GROWTH_LIMIT}",
        f"{relative:.3f}",
        abs(relative - 1) <= GROWTH_LIMIT,
    )
    for ours, (peer, ratio) in figures.codec_ratios().items():
        yield Goal(
            f"Best peer ({peer}) ÷ `{ours}`",
            f"≥ {CODEC_LIMIT:.0f}",
            f"{ratio:.1f}",
            ratio >= CODEC_LIMIT,
        )
    blocks = sum(o["blocks"] for name, o in figures.operations.items() if name.startswith("asn_"))
    yield Goal("Heap blocks that the BER layer takes", "0", str(blocks), blocks == 0)
    yield from window_goals(figures)
    registration = figures.registrations[-1]
    ratio = registration.all.over(registration.in_turn)
    yield Goal(
        f"Registration on {registration.count} scanners ÷ bare round trips on one open socket",
        f"≤ {REGISTRATION_LIMIT}",
        ratio.show(),
        ratio.median <= REGISTRATION_LIMIT,
    )


def extra_memory(figures, other):
    """Megabytes of peak memory above another window's."""
    more = figures.start("ours", "peak_kib").median - figures.start(other, "peak_kib").median
    return more * 1024 / 1e6


def window_goals(figures):
    start = figures.start("ours").over(figures.start("bare"))
    yield Goal(
        "Start-up less the survey ÷ a bare window",
        f"≤ {START_LIMIT}",
        start.show(),
        start.median <= START_LIMIT,
    )
    megabytes = extra_memory(figures, "bare")
    yield Goal(
        "Peak memory above a bare window's",
        f"≤ {MEMORY_LIMIT_MB:.0f} MB",
        f"{megabytes:.1f} MB",
        megabytes <= MEMORY_LIMIT_MB,
    )
