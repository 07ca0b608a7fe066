"""Speed of frames, calls and parameters as ratios against a named rival, in one run."""
import argparse
import importlib
import importlib.util
import sys

import record

SECTIONS = ("frames", "gige", "gige_sender", "layer", "parameters", "producers", "startup", "usb3",
            "view", "vision")


def main():
    """Runs the sections asked for and prints the table."""
    parser = argparse.ArgumentParser(prog="./run bench", description=__doc__)
    parser.add_argument("--build", required=True, help="build directory")
    record.add_options(parser)
    parser.add_argument("sections", nargs="*", help="any of: " + " ".join(SECTIONS))
    arguments = parser.parse_args()
    chosen = []
    for section in arguments.sections or SECTIONS:
        if section not in SECTIONS or importlib.util.find_spec(section) is None:
            sys.exit("no section named '%s'; there are: %s" % (section, " ".join(SECTIONS)))
        module = importlib.import_module(section)
        module.BUILD = arguments.build
        chosen.append((section, module.run))
    record.measure("bench", chosen, arguments)


if __name__ == "__main__":
    main()
