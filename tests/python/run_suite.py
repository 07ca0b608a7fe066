"""Runs the Python tests of a build: python run_suite.py --build DIR [--python PY] [--long] [...]

Every folder here with tests is a suite. "double" runs over scripted libraries, which stand in front
of the real ones; the others, such as "simulator", run over the real ones. Some folders run again as
another suite, in another environment: "producer" is "simulator" with the cameras of a producer
that is loaded from a file instead of the compiled-in ones. "cameras" holds what is true of any
camera; it runs over the simulated ones, those of the producer, and GigE Vision cameras on loopback.
Further arguments go to pytest. The exit code is 0 only if every suite ran and passed.
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

# Suites that run a folder again: name -> folder, environment; {python} is the folder of the build.
PRODUCER = {"ZELCAM_SIMULATOR": "off", "GENICAM_GENTL64_PATH": "{python}/zelcam_simulator.cti"}
GIGE = {"ZELCAM_SIMULATOR": "off", "ZELCAM_VISION": "lo", "ZELCAM_TEST_CAMERAS": "own"}
AGAIN = {
    "producer": ("simulator", PRODUCER),
    "cameras-producer": ("cameras", PRODUCER),
    "cameras-gige": ("cameras", GIGE),
}
# A camera of somebody else, where it is installed.
STRANGE_CAMERA = "arv-fake-gv-camera-0.8"
if shutil.which(STRANGE_CAMERA):
    AGAIN["cameras-gige-program"] = ("cameras", dict(GIGE, ZELCAM_TEST_CAMERAS=STRANGE_CAMERA))
# Suites whose cameras answer on loopback, at a port that only one process has: where that is
# permitted they run in a network of their own, in which nothing else is heard.
ON_LOOPBACK = {"gige", "cameras-gige", "cameras-gige-program"}
OWN_NETWORK = ["unshare", "-n", "sh", "-c", 'ip link set lo up && exec "$@"', "sh"]

# Suites that read files back with the usual imaging libraries, which are Debian's interpreter's.
DEBIAN_PYTHON = "/usr/bin/python3"
WITH_IMAGING_LIBRARIES = {"strangers"}


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
            "TSAN_OPTIONS": "suppressions=%s:allocator_may_return_null=1:second_deadlock_stack=1:%s"
                            % (HERE.parent / "sanitizers" / "tsan.supp",
                               os.environ.get("TSAN_OPTIONS", ""))}


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
    options, pytest_arguments = parser.parse_known_args()
    build = options.build.resolve()
    python = options.python or cache_value(build, "ZEL_PYTHON", sys.executable)

    suites = options.suite or sorted({path.parent.name for path in HERE.glob("*/test_*.py")} | set(AGAIN))
    status = 0
    for suite in suites:
        environment = dict(os.environ, PYTHONDONTWRITEBYTECODE="1", ZELCAM_TEST_BUILD=str(build))
        environment.update(sanitizer_environment(build))
        environment["PYTHONPATH"] = os.pathsep.join([str(build / "python"), str(pytest_links(build))])
        environment["ZELCAM_LONG_TESTS"] = "1" if options.long else ""
        environment.pop("LD_LIBRARY_PATH", None)
        folder, extra = AGAIN.get(suite, (suite, {}))
        environment.update((name, value.format(python=build / "python"))
                           for name, value in extra.items())
        if suite == "double":
            environment["LD_LIBRARY_PATH"] = str(build / "double")
        # Errors of threads and destructors go to standard error, which every test watches.
        plugins = ["-pno:" + name for name in ("cacheprovider", "unraisableexception",
                                               "threadexception")]
        interpreter = python
        if suite in WITH_IMAGING_LIBRARIES and os.path.exists(DEBIAN_PYTHON):
            interpreter = DEBIAN_PYTHON
        command = [interpreter, "-X", "faulthandler", "-m", "pytest", "-q", "-rs", *plugins,
                   # Debian's pytest is older than the newest interpreters.
                   "-Wignore::DeprecationWarning:_pytest.assertion.rewrite",
                   "--rootdir", str(HERE), str(HERE / folder)]
        if suite in ON_LOOPBACK and may_have_own_network():
            command = OWN_NETWORK + command
        print("== %s suite" % suite, flush=True)
        status |= subprocess.run(command + pytest_arguments, env=environment, cwd=str(build)).returncode
    return 1 if status or not suites else 0


if __name__ == "__main__":
    sys.exit(main())
