"""Rows of a benchmark table: ours beside a named rival, measured in one run."""
import statistics
import time


class Table:
    """Collects rows and prints them as one table. Ratios above 1 mean ours is faster."""

    def __init__(self):
        self.rows = []

    def add(self, what, ours, rival, ratio, target="", met=None):
        """Adds a row; `met` is True, False, or None where there is no target."""
        verdict = "" if met is None else ("met" if met else "MISSED")
        self.rows.append((what, ours, rival, ratio, target, verdict))
        print("  ".join(str(cell) for cell in self.rows[-1]), flush=True)

    def note(self, what, text):
        """A row that says why there is no figure."""
        self.rows.append((what, text, "", "", "", ""))
        print(what, text, flush=True)

    def markdown(self):
        """The table as text."""
        head = ("what", "ours", "rival", "ratio", "target", "verdict")
        widths = [max(len(str(row[i])) for row in [head] + self.rows) for i in range(6)]
        line = lambda row: "| " + " | ".join(str(c).ljust(w) for c, w in zip(row, widths)) + " |"
        rule = "|" + "|".join("-" * (width + 2) for width in widths) + "|"
        return "\n".join([line(head), rule] + [line(row) for row in self.rows])


def timed(function):
    """Seconds that one call takes."""
    start = time.perf_counter()
    function()
    return time.perf_counter() - start


def interleaved(functions, rounds):
    """Median seconds of each function, called in turn so that drift meets all alike."""
    times = [[] for _ in functions]
    for _ in range(rounds):
        for index, function in enumerate(functions):
            times[index].append(timed(function))
    return [statistics.median(values) for values in times]


def micro(seconds):
    """Seconds as text in microseconds."""
    return "%.2f us" % (seconds * 1e6) if seconds < 1e-4 else "%.0f us" % (seconds * 1e6)
