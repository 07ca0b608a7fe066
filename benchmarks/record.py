"""A run of the benchmarks as a file: the machine, the commit, and every row of every round."""
import datetime
import importlib
import json
import os
import platform
import re
import subprocess
import sys

from cores import awake
from table import Table

FORMAT = 1
# How far two single rounds may lie apart on one machine, of the figure.
SINGLE_ROUND_NOISE = 0.15


def machine():
    """One line on the machine and the rivals the figures come from."""
    model = platform.processor() or "unknown processor"
    with open("/proc/cpuinfo", encoding="utf-8") as lines:
        for line in lines:
            if line.startswith("model name"):
                model = line.split(":", 1)[1].strip()
                break
    parts = [model, "%d cores" % os.cpu_count(), "load %.1f" % os.getloadavg()[0],
             "CPython " + platform.python_version()]
    for module in ("numpy", "cv2", "PIL"):
        try:
            parts.append("%s %s" % (module, importlib.import_module(module).__version__))
        except ImportError:
            pass
    return ", ".join(parts)


def commit():
    """The commit of the sources, with "+" where they were changed since; "" without git."""
    place = os.path.dirname(os.path.abspath(__file__))

    def git(*words):
        try:
            done = subprocess.run(["git", "-C", place, *words], stdout=subprocess.PIPE,
                                  stderr=subprocess.DEVNULL, check=False)
        except OSError:
            return ""
        return done.stdout.decode().strip() if done.returncode == 0 else ""

    found = git("rev-parse", "--short", "HEAD")
    return found + ("+" if found and git("status", "--porcelain") else "")


def add_options(parser):
    """What every program of benchmarks takes."""
    parser.add_argument("--json", metavar="FILE", help="write machine, commit and rows there, too")
    parser.add_argument("--rounds", type=int, default=1, metavar="N",
                        help="measure everything N times (default: 1): what swings is then known")


def one_round(sections):
    """Runs the sections once; returns their table and its rows as they are written."""
    table = Table()
    rows = []
    for name, run in sections:
        first = len(table.rows)
        run(table)
        rows += [dict(zip(("section", "what", "ours", "rival", "ratio", "target", "verdict"),
                          (name, *(str(cell) for cell in row))))
                 for row in table.rows[first:]]
    return table, rows


def measure(program, sections, arguments):
    """Runs `sections` ((name, function of a table) pairs) as often as asked for, prints the table of
    the last round and writes the file that was asked for. The cores are kept awake meanwhile."""
    where = machine()
    rounds = []
    with awake() as kept:
        where += ", cores kept awake" if kept else ", cores that may sleep"
        for number in range(max(1, arguments.rounds)):
            if arguments.rounds > 1:
                print("round %d of %d" % (number + 1, arguments.rounds), flush=True)
            table, rows = one_round(sections)
            rounds.append(rows)
    print("\n%s\n\n%s" % (where, table.markdown()))
    if arguments.json:
        text = json.dumps({"format": FORMAT, "program": program, "machine": where,
                           "commit": commit(),
                           "when": datetime.datetime.now().astimezone().isoformat("T", "seconds"),
                           "rounds": rounds}, indent=1)
        with open(arguments.json, "w", encoding="utf-8") as file:
            file.write(text + "\n")
        print("written: " + arguments.json)


def load(name):
    """What measure() wrote into the file; ends the program where it did not write it."""
    try:
        with open(name, encoding="utf-8") as file:
            found = json.load(file)
        if found["format"] != FORMAT:
            sys.exit("%s: of another version" % name)
        for rows in found["rounds"]:
            for row in rows:
                row["section"], row["what"]  # pylint: disable=pointless-statement
        return found
    except OSError as error:
        sys.exit("%s: %s" % (name, error.strerror))
    except (ValueError, KeyError, TypeError):
        sys.exit("%s: no file of ./run bench --json" % name)


def number(text):
    """The first number of a cell; None where there is none."""
    found = re.search(r"-?\d+(?:\.\d+)?", text)
    return float(found.group()) if found else None
