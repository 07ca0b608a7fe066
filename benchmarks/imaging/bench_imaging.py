"""Speed and quality of the image components as ratios against named rivals, in one run.

Every rows_<name>.py beside this file adds its rows by `run(table, build)`. Needs an interpreter with
NumPy, OpenCV and Pillow; what is absent is named in the table.
"""
import argparse
import functools
import importlib
import os
import sys

HERE = os.path.dirname(os.path.abspath(__file__))
sys.path.insert(0, HERE)
sys.path.insert(0, os.path.join(HERE, ".."))

import record  # noqa: E402


def names():
    """What can be measured."""
    return sorted(name[len("rows_"):-len(".py")] for name in os.listdir(HERE)
                  if name.startswith("rows_") and name.endswith(".py"))


def main(chosen=None):
    """Measures what is chosen, else what is asked for, else everything; prints the table."""
    parser = argparse.ArgumentParser(prog="./run bench-imaging", description=__doc__)
    parser.add_argument("--build", required=True, help="build directory")
    record.add_options(parser)
    if chosen is None:
        parser.add_argument("names", nargs="*", help="any of: " + " ".join(names()))
    arguments = parser.parse_args()
    asked = chosen or arguments.names or names()
    unknown = [name for name in asked if name not in names()]
    if unknown:
        sys.exit("nothing named '%s'; there are: %s" % (unknown[0], " ".join(names())))
    sections = [(name, functools.partial(importlib.import_module("rows_" + name).run,
                                         build=arguments.build)) for name in asked]
    record.measure("bench-imaging", sections, arguments)


if __name__ == "__main__":
    main()
