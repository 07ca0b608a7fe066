"""Writes tables of docs/benchmarks.md from files of `./run bench --json`.

A table stands between `<!-- figures: SECTION ... -->` and `<!-- end of figures -->`; those whose
sections are all in the files are written anew, the others stay.
"""
import argparse
import pathlib
import re
import sys

from record import load, number
from table import Table

PAGE = pathlib.Path(__file__).resolve().parents[1] / "docs" / "benchmarks.md"
PLACE = re.compile(r"(<!-- figures: ([\w -]+) -->\n).*?(<!-- end of figures -->)", re.S)
COLUMNS = ("what", "ours", "rival", "ratio", "target", "verdict")


def middle(rows_of_rounds):
    """The row of the round in the middle, by ratio (or what it is without one), so that each row is one
    that was measured."""
    ordered = sorted(rows_of_rounds,
                     key=lambda row: number(row["ratio"]) or number(row["ours"]) or 0.0)
    return ordered[(len(ordered) - 1) // 2]


def text_of(sections, found):
    """The table of `sections`, and where it comes from."""
    table, sources = Table(), []
    for section in sections:
        record = found[section]
        source = "%s; commit %s, %s, %d round%s" % (
            record["machine"], record["commit"] or "unknown", record["when"][:10],
            len(record["rounds"]), "s, the middle one" if len(record["rounds"]) > 1 else "")
        if source not in sources:
            sources.append(source)
        for row in record["rounds"][0]:
            if row["section"] == section:
                same = [other for rows in record["rounds"] for other in rows
                        if (other["section"], other["what"]) == (section, row["what"])]
                table.rows.append(tuple(middle(same)[name] for name in COLUMNS))
    return "\n%s\n\n%s.\n\n" % (table.markdown(), ".\n".join(sources))


def write(page, records):
    """`page` with the tables that the records have; the names of those that were written."""
    found, written = {}, []
    for record in records:
        for rows in record["rounds"]:
            for row in rows:
                found[row["section"]] = record

    def replaced(match):
        sections = match.group(2).split()
        if not all(section in found for section in sections):
            return match.group(0)
        written.append(match.group(2))
        return match.group(1) + text_of(sections, found) + match.group(3)

    return PLACE.sub(replaced, page), written


def main():
    """Writes the page and says what was written."""
    parser = argparse.ArgumentParser(prog="./run bench-document", description=__doc__)
    parser.add_argument("files", nargs="+")
    arguments = parser.parse_args()
    page, written = write(PAGE.read_text(encoding="utf-8"), [load(name) for name in arguments.files])
    if not written:
        sys.exit("no table of %s is in these files as a whole" % PAGE.name)
    PAGE.write_text(page, encoding="utf-8")
    print("written: " + ", ".join(written))


if __name__ == "__main__":
    main()
