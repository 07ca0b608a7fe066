"""What changed between two files of `./run bench --json`, beyond what swings by itself."""
import argparse
import statistics
import sys

from record import SINGLE_ROUND_NOISE, load, number


class Figure:
    """A row over all rounds of a file. Where it has a rival the ratio is the figure, since another
    machine or another day changes both sides; else what stands under "ours"."""

    def __init__(self, row):
        self.is_ratio = number(row["ratio"]) is not None
        self.is_cost = row["target"].startswith("at most") and row["target"].endswith("x")
        self.values = []
        self.shown = row["ours"]
        self.verdict = row["verdict"]

    def add(self, row):
        """One more round."""
        value = number(row["ratio"] if self.is_ratio else row["ours"])
        if value is not None:
            self.values.append(value)

    def median(self):
        """The figure; None where no round had one."""
        return statistics.median(self.values) if self.values else None

    def noise(self):
        """How far it swings by itself, of the figure."""
        if len(self.values) < 2 or not self.median():
            return SINGLE_ROUND_NOISE
        return (max(self.values) - min(self.values)) / abs(self.median())


def figures(record):
    """By (section, row): the figures of a file."""
    found = {}
    for rows in record["rounds"]:
        for row in rows:
            found.setdefault((row["section"], row["what"]), Figure(row)).add(row)
    return found


def change(old, new):
    """The change of a figure, as a part of the old one, or None where it is noise or there is
    nothing to compare."""
    before, after = old.median(), new.median()
    if before is None or after is None or not before or old.is_ratio != new.is_ratio:
        return None
    part = after / before - 1
    return part if abs(part) > max(old.noise(), new.noise(), 0.02) else None


def compare(first, second):
    """Lines that tell what changed, and how many rows became worse."""
    old, new = figures(first), figures(second)
    lines, worse, same = [], 0, 0
    for key in [key for key in old if key in new]:
        part = change(old[key], new[key])
        missed = old[key].verdict == "met" and new[key].verdict == "MISSED"
        if part is None and not missed:
            same += 1
            continue
        word = "changed"
        if old[key].is_ratio and part is not None:
            word = "SLOWER" if (part > 0) == old[key].is_cost else "faster"
        worse += word == "SLOWER" or missed
        lines.append("%-8s %s: %s -> %s%s%s" % (
            word, " / ".join(key), old[key].shown, new[key].shown,
            "" if part is None else ", %s %+.0f %%" % (
                "ratio" if old[key].is_ratio else "figure", 100 * part),
            ", target now missed" if missed else ""))
    lines += ["gone     " + " / ".join(key) for key in old if key not in new]
    lines += ["new      " + " / ".join(key) for key in new if key not in old]
    lines.append("%d rows as before, %d worse" % (same, worse))
    return lines, worse


def main():
    """Prints what changed; exit code 1 where something became worse."""
    parser = argparse.ArgumentParser(prog="./run bench-compare", description=__doc__)
    parser.add_argument("before")
    parser.add_argument("after")
    arguments = parser.parse_args()
    first, second = load(arguments.before), load(arguments.after)
    for record in (first, second):
        print("%s, commit %s, %s, %d rounds" % (record["machine"], record["commit"] or "unknown",
                                                record["when"], len(record["rounds"])))
    lines, worse = compare(first, second)
    print("\n".join(lines))
    sys.exit(1 if worse else 0)


if __name__ == "__main__":
    main()
