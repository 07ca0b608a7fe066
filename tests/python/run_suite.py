"""Runs the Python tests of a build: python run_suite.py --build DIR [--python PY] [--long] [...]

Every folder here with tests is a suite. "double" runs over scripted libraries, which stand in front
of the real ones; the others, such as "simulator", run over the real ones. Some folders run again as
another suite, in another environment: "producer" is "simulator" with the cameras of a producer
that is loaded from a file instead of the compiled-in ones. "cameras" holds what is true of any
camera; it runs over the simulated ones, those of the producer, and GigE Vision cameras on loopback:
the simulated ones served there, and two of somebody else as second judges.
Every suite sets its own environment: no ZELCAM_ or GENICAM_ variable of the caller reaches a test.
Further arguments go to pytest. The exit code is 0 only if every suite ran and passed; with --name 5
when no suite has such a test.
"""

import argparse
import os
import pathlib
import shutil
import subprocess
import sys

HERE = pathlib.Path(__file__).resolve().parent
DEBIAN_PACKAGES = pathlib.Path("/usr/lib/python3/dist-packages")
# Debian's pytest is pure Python and runs under every CPython when only these are on the path.
PYTEST_PARTS = ["pytest", "_pytest", "pluggy", "iniconfig", "packaging", "attr", "attrs", "py",
                "exceptiongroup", "tomli", "typing_extensions.py"]

# What holds in every suite that does not say otherwise: no packet leaves this machine.
USUAL = {"ZELCAM_VISION": "off"}
# Suites that run a folder again: name -> folder, environment; {python} is the folder of the build.
PRODUCER = {"ZELCAM_SIMULATOR": "off", "GENICAM_GENTL64_PATH": "{python}/zelcam_simulator.cti"}
GIGE = {"ZELCAM_SIMULATOR": "off", "ZELCAM_VISION": "lo", "ZELCAM_TEST_CAMERAS": "served"}
# USB3 Vision cameras behind a libusb that has no bus.
USB3 = {"ZELCAM_SIMULATOR": "off", "ZELCAM_VISION": "usb", "LD_LIBRARY_PATH": "{python}/../usb3",
        "ZEL_USB3_CAMERAS": "2"}
AGAIN = {
    "producer": ("simulator", PRODUCER),
    "cameras-producer": ("cameras", PRODUCER),
    "cameras-gige": ("cameras", GIGE),
    # A second judge: the camera inside Aravis.
    "cameras-gige-library": ("cameras", dict(GIGE, ZELCAM_TEST_CAMERAS="library")),
    "cameras-usb3": ("cameras", USB3),
    "usb3": ("usb3", USB3),
}
# A camera of somebody else, where it is installed.
STRANGE_CAMERA = "arv-fake-gv-camera-0.8"
if shutil.which(STRANGE_CAMERA):
    AGAIN["cameras-gige-program"] = ("cameras", dict(GIGE, ZELCAM_TEST_CAMERAS=STRANGE_CAMERA))
# Suites whose cameras answer on loopback, at a port that only one process has: where that is
# permitted they run in a network of their own, in which nothing else is heard.
ON_LOOPBACK = {"gige", "cameras-gige", "cameras-gige-library", "cameras-gige-program", "served", "tools"}
OWN_NETWORK = ["unshare", "-n", "sh", "-c", 'ip link set lo up && exec "$@"', "sh"]

# pytest's answer when a name was given that no test has.
NONE_SELECTED = 5

# Suites that read files back with the usual imaging libraries, which are Debian's interpreter's.
DEBIAN_PYTHON = "/usr/bin/python3"
WITH_IMAGING_LIBRARIES = {"strangers"}
# The same for suites that import the module: where both interpreters take the same extensions.
WITH_NUMPY = {"layer"}


def cache_value(build, name, default):
    for line in (build / "CMakeCache.txt").read_text().splitlines():
        if line.startswith(name + ":"):
            return line.split("=", 1)[1] or default
    return default


def pytest_links(build):
    folder = build / "pytest-links"
    folder.mkdir(exist_ok=True)
    for part in PYTEST_PARTS:
        source, link = DEBIAN_PACKAGES / part, folder / part
        if source.exists() and not link.exists():
            link.symlink_to(source)
    return folder


def sanitizer_environment(build):
    """A sanitized extension in a plain interpreter wants the runtime to be loaded first."""
    kind = cache_value(build, "ZEL_SANITIZE", "")
    names = {"address": "libasan.so", "thread": "libtsan.so"}
    wanted = [library for word, library in names.items() if word in kind]
    if not wanted:
        return {}
    found = [subprocess.run(["gcc", "-print-file-name=" + name], stdout=subprocess.PIPE, text=True,
                            check=True).stdout.strip() for name in wanted + ["libstdc++.so.6"]]
    return {"LD_PRELOAD": ":".join(found), "ZELCAM_TEST_SANITIZED": kind,
            # The interpreter keeps memory until its end: leaks are what the memory tests look for.
            "ASAN_OPTIONS": "detect_leaks=0:allocator_may_return_null=1:quarantine_size_mb=2:"
                            + os.environ.get("ASAN_OPTIONS", ""),
            "UBSAN_OPTIONS": "print_stacktrace=1:" + os.environ.get("UBSAN_OPTIONS", ""),
            # Scripts that end with an open camera leave its threads to the end of the process.
            "TSAN_OPTIONS": "suppressions=%s:allocator_may_return_null=1:second_deadlock_stack=1:"
                            "report_thread_leaks=0:%s"
                            % (HERE.parent / "sanitizers" / "tsan.supp",
                               os.environ.get("TSAN_OPTIONS", ""))}


def decimal_comma_environment(build):
    """A locale whose numbers have a comma, made in the build folder, and interpreters that use it."""
    folder = build / "locale"
    (folder / "start").mkdir(parents=True, exist_ok=True)
    if not (folder / "de_DE.UTF-8").exists():
        subprocess.run(["localedef", "-i", "de_DE", "-f", "UTF-8", str(folder / "de_DE.UTF-8")],
                       check=True)
    # Read by every interpreter at its start, also by those that the tests start.
    (folder / "start" / "sitecustomize.py").write_text(
        "import locale\nlocale.setlocale(locale.LC_ALL, '')\n"
        "assert locale.localeconv()['decimal_point'] == ','\n")
    # Numbers with a comma, messages as the tests know them.
    return {"LC_ALL": "de_DE.UTF-8", "LOCPATH": str(folder), "LANGUAGE": "C"}


def suite_environment(suite, options, build):
    environment = {name: value for name, value in os.environ.items()
                   if not name.startswith(("ZELCAM_", "GENICAM_", "LD_LIBRARY_PATH"))}
    environment.update(USUAL, PYTHONDONTWRITEBYTECODE="1", ZELCAM_TEST_BUILD=str(build))
    environment.update(sanitizer_environment(build))
    path = [build / "python", pytest_links(build)]
    if options.decimal_comma:
        environment.update(decimal_comma_environment(build))
        path.append(build / "locale" / "start")
    environment["PYTHONPATH"] = os.pathsep.join(map(str, path))
    environment["ZELCAM_LONG_TESTS"] = "1" if options.long else ""
    environment.update((name, value.format(python=build / "python"))
                       for name, value in AGAIN.get(suite, (suite, {}))[1].items())
    if suite == "double":
        environment["LD_LIBRARY_PATH"] = str(build / "double")
    return environment


def same_version(one, other):
    """Whether two interpreters load the same extension modules."""
    ask = "import sys; print(sys.version_info[:2])"
    told = {subprocess.run([str(python), "-c", ask], stdout=subprocess.PIPE).stdout
            for python in (one, other)}
    return len(told) == 1


def may_have_own_network():
    try:
        return subprocess.run(OWN_NETWORK + ["true"], stderr=subprocess.DEVNULL).returncode == 0
    except OSError:
        return False


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--build", default="build", type=pathlib.Path)
    parser.add_argument("--python", help="default: the interpreter the build was made for")
    parser.add_argument("--suite", action="append", help="only this one; may be repeated")
    parser.add_argument("--long", action="store_true", help="also the tests that take long")
    parser.add_argument("--name", help="only tests with this in their name")
    parser.add_argument("--decimal-comma", action="store_true",
                        help="in a locale whose numbers have a comma")
    options, pytest_arguments = parser.parse_known_args()
    if options.name:
        pytest_arguments += ["-k", options.name]
    build = options.build.resolve()
    python = options.python or cache_value(build, "ZEL_PYTHON", sys.executable)

    suites = options.suite or sorted({path.parent.name for path in HERE.glob("*/test_*.py")} | set(AGAIN))
    answers = []
    for suite in suites:
        folder = AGAIN.get(suite, (suite,))[0]
        # Errors of threads and destructors go to standard error, which every test watches.
        plugins = ["-pno:" + name for name in ("cacheprovider", "unraisableexception",
                                               "threadexception")]
        interpreter = python
        if os.path.exists(DEBIAN_PYTHON) and (
                suite in WITH_IMAGING_LIBRARIES
                or suite in WITH_NUMPY and same_version(python, DEBIAN_PYTHON)):
            interpreter = DEBIAN_PYTHON
        command = [interpreter, "-X", "faulthandler", "-m", "pytest", "-q", "-rs", *plugins,
                   # Debian's pytest is older than the newest interpreters.
                   "-Wignore::DeprecationWarning:_pytest.assertion.rewrite",
                   "--rootdir", str(HERE), str(HERE / folder)]
        if suite in ON_LOOPBACK and may_have_own_network():
            command = OWN_NETWORK + command
        print("== %s suite" % suite, flush=True)
        answers.append(subprocess.run(command + pytest_arguments, cwd=str(build),
                                      env=suite_environment(suite, options, build)).returncode)
    if options.name and set(answers) <= {NONE_SELECTED}:
        return NONE_SELECTED
    passed = {0, NONE_SELECTED} if options.name else {0}
    return 0 if answers and set(answers) <= passed else 1


if __name__ == "__main__":
    sys.exit(main())
