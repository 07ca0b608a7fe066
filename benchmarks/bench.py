"""Speed of frames, calls and parameters as ratios against a named rival, in one run."""
import argparse
import importlib
import importlib.util
import os
import platform
import sys

from table import Table

SECTIONS = ("frames", "gige", "gige_sender", "layer", "parameters", "producers", "usb3", "view",
            "vision")


def machine():
    """One line on the machine the figures come from."""
    model = platform.processor() or "unknown processor"
    with open("/proc/cpuinfo", encoding="utf-8") as lines:
        for line in lines:
            if line.startswith("model name"):
                model = line.split(":", 1)[1].strip()
                break
    return "%s, %d cores, CPython %s" % (model, os.cpu_count(), platform.python_version())


def main():
    """Runs the sections asked for and prints the table."""
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("--build", required=True, help="build directory")
    parser.add_argument("sections", nargs="*", help="any of: " + " ".join(SECTIONS))
    arguments = parser.parse_args()
    table = Table()
    for section in arguments.sections or SECTIONS:
        if importlib.util.find_spec(section) is None:
            sys.exit("no section named '%s'; there are: %s" % (section, " ".join(SECTIONS)))
        module = importlib.import_module(section)
        module.BUILD = arguments.build
        module.run(table)
    print("\n%s\n\n%s" % (machine(), table.markdown()))


if __name__ == "__main__":
    main()
