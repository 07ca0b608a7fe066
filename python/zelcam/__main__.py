"""`zelcam` and `python -m zelcam`: the command-line program that stands in this package."""
import os
import sys
from typing import NoReturn


def main() -> NoReturn:
    """Becomes the program."""
    program = os.path.join(os.path.dirname(os.path.abspath(__file__)), "zelcam-program")
    if not os.path.exists(program):
        # A build tree: the program stands beside the folder of the libraries.
        program = os.path.join(os.path.dirname(program), "..", "..", "bin", "zelcam")
    try:
        os.execv(program, ["zelcam", *sys.argv[1:]])
    except OSError as error:
        sys.exit("zelcam: the program is not here: %s" % error)


if __name__ == "__main__":
    main()
