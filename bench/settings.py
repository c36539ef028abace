"""How much is measured: for figures that are shown, and briefly to see that everything runs."""
import dataclasses
import pathlib


@dataclasses.dataclass(frozen=True)
class Programs:
    """Where the programs of a build are."""

    build: pathlib.Path

    @property
    def bench(self):
        return self.build / "bench"

    @property
    def simulator(self):
        return self.build / "tools" / "scanner-sim"

    @property
    def tool(self):
        return self.build / "app" / "VeltranaDVXTools"


@dataclasses.dataclass(frozen=True)
class Settings:
    seconds: float  # for each repetition of an operation
    repetitions: int
    runs: int  # of a survey, a registration, a peer
    survey_sizes: tuple
    registration_sizes: tuple
    peer_size: int
    slow_runs: int  # of whoever asks scanners that take their time
    starts: int  # of the program
    searches: int
    keys: int
    rows: int
    scrolls: int

    def describe(self):
        return (
            f"{self.repetitions} of {self.seconds:g} s for each operation, {self.runs} of each survey,"
            f" registration and peer, {self.starts} starts, {self.searches} searches,"
            f" {self.keys} keys, {self.scrolls} pages"
        )


FULL = Settings(
    seconds=0.05,
    repetitions=7,
    runs=11,
    survey_sizes=(1, 4, 16, 64, 256),
    registration_sizes=(1, 16, 256),
    peer_size=256,
    slow_runs=3,
    starts=15,
    searches=9,
    keys=41,
    rows=256,
    scrolls=41,
)

QUICK = Settings(
    seconds=0.002,
    repetitions=1,
    runs=1,
    survey_sizes=(1, 64, 256),
    registration_sizes=(1, 16),
    peer_size=16,
    slow_runs=1,
    starts=1,
    searches=1,
    keys=3,
    rows=64,
    scrolls=3,
)
