"""Medians, and how far the middle half of the values lies apart."""
import statistics


class Sample:
    """What one figure was in all runs."""

    def __init__(self, values):
        self.values = list(values)

    @property
    def median(self):
        return statistics.median(self.values)

    @property
    def quartiles(self):
        if len(self.values) < 2:
            return self.median, self.median
        low, _middle, high = statistics.quantiles(self.values, n=4, method="inclusive")
        return low, high

    def over(self, other):
        """The ratios to another figure, run by run; that one may have several values per run."""
        each = len(other.values) // len(self.values)
        parts = [other.values[i * each : (i + 1) * each] for i in range(len(self.values))]
        return Sample(a / statistics.median(b) for a, b in zip(self.values, parts))

    def plus(self, other):
        """The sums with another figure, value by value."""
        return Sample(a + b for a, b in zip(self.values, other.values))

    def per_run(self, runs):
        """One value for each run, the median of those that the run has."""
        each = len(self.values) // runs
        parts = [self.values[i * each : (i + 1) * each] for i in range(runs)]
        return Sample(statistics.median(part) for part in parts)

    def show(self, scale=1.0, digits=2):
        """The median with the quartiles, for a cell of a table."""
        low, high = (f"{value * scale:.{digits}f}" for value in self.quartiles)
        return f"{self.median * scale:.{digits}f} ({low}–{high})"
