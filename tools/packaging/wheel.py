"""Packs a build into a wheel for the interpreter that runs this: python wheel.py --build DIR."""
import argparse
import base64
import hashlib
import os
import re
import shutil
import sys
import sysconfig
import tempfile
import zipfile

import bundle

NAME = "libZelCameraApiPy"
ROOT = os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__))))
PROGRAM = "zelcam/zelcam-program"
ENTRY_POINTS = "[console_scripts]\nzelcam = zelcam.__main__:main\n"


def version():
    """Version in CMakeLists.txt."""
    with open(os.path.join(ROOT, "CMakeLists.txt"), encoding="utf-8") as text:
        return re.search(r"project\(zelcam VERSION ([0-9.]+)", text.read()).group(1)


def metadata():
    """The package's description; no licence has been chosen, so none is told."""
    with open(os.path.join(ROOT, "README.md"), encoding="utf-8") as text:
        readme = text.read()
    lines = ["Metadata-Version: 2.1", "Name: " + NAME, "Version: " + version(),
             "Summary: Machine-vision cameras from Python, simulated ones included",
             "Keywords: machine vision,camera,GenICam,GigE Vision,USB3 Vision,GenTL",
             "Platform: Linux", "Requires-Python: >=3.8",
             "Provides-Extra: array", 'Requires-Dist: numpy; extra == "array"',
             "Classifier: Development Status :: 5 - Production/Stable",
             "Classifier: Intended Audience :: Science/Research",
             "Classifier: Operating System :: POSIX :: Linux",
             "Classifier: Programming Language :: C++",
             "Classifier: Programming Language :: Python :: Implementation :: CPython",
             "Classifier: Topic :: Scientific/Engineering :: Image Recognition", "Classifier: Typing :: Typed"]
    lines += ["Classifier: Programming Language :: Python :: 3.%d" % minor for minor in range(8, 14)]
    return "\n".join(lines + ["Description-Content-Type: text/markdown", "", readme])


def tag(libraries):
    """Interpreter, ABI and platform; the platform tells the oldest C library that will do."""
    interpreter = "cp%d%d" % sys.version_info[:2]
    machine = sysconfig.get_platform().replace("linux-", "").replace("-", "_").replace(".", "_")
    return "%s-%s%s-manylinux_%d_%d_%s" % ((interpreter, interpreter, sys.abiflags)
                                           + bundle.glibc_needed(libraries) + (machine,))


def digest(data):
    """Hash as wheels record it."""
    raw = base64.urlsafe_b64encode(hashlib.sha256(data).digest()).rstrip(b"=")
    return "sha256=" + raw.decode()


def gather(build, stage):
    """Copies what is shipped from a build; returns the files that are code, the module first."""
    source = os.path.join(build, "python")
    if not os.path.exists(os.path.join(source, NAME + ".so")):
        sys.exit("%s has no %s.so: build first" % (source, NAME))
    shutil.copytree(os.path.join(source, "zelcam"), os.path.join(stage, "zelcam"),
                    ignore=shutil.ignore_patterns("__pycache__"))
    os.mkdir(os.path.join(stage, NAME + "-stubs"))
    shutil.copyfile(os.path.join(source, NAME + ".pyi"),
                    os.path.join(stage, NAME + "-stubs", "__init__.pyi"))
    names = [NAME + ".so"] + sorted(name for name in os.listdir(source)
                                    if name.endswith((".so", ".cti")) and name != NAME + ".so")
    for name in names:
        shutil.copy2(os.path.join(source, name), os.path.join(stage, name))
    program = os.path.join(build, "bin", "zelcam")
    if os.path.exists(program):
        shutil.copy2(program, os.path.join(stage, PROGRAM))
        names.append(PROGRAM)
    return [os.path.join(stage, name) for name in names]


def write(stage, libraries, output):
    """Writes the wheel and returns its path. The same files give the same wheel."""
    label = tag(libraries)
    info = "%s-%s.dist-info/" % (NAME, version())
    contents = {}
    for folder, _, files in os.walk(stage):
        for name in files:
            path = os.path.join(folder, name)
            with open(path, "rb") as content:
                contents[os.path.relpath(path, stage)] = content.read()
    contents[info + "METADATA"] = metadata().encode()
    contents[info + "WHEEL"] = ("Wheel-Version: 1.0\nGenerator: zelcam\nRoot-Is-Purelib: false\n"
                                "Tag: %s\n" % label).encode()
    if PROGRAM in contents:
        contents[info + "entry_points.txt"] = ENTRY_POINTS.encode()
    contents[info + "RECORD"] = ("".join(
        "%s,%s,%d\n" % (name, digest(data), len(data)) for name, data in sorted(contents.items()))
        + info + "RECORD,,\n").encode()
    code = {os.path.relpath(path, stage) for path in libraries}
    os.makedirs(output, exist_ok=True)
    wheel = os.path.join(output, "%s-%s-%s.whl" % (NAME, version(), label))
    with zipfile.ZipFile(wheel, "w", zipfile.ZIP_DEFLATED, compresslevel=9) as archive:
        for name, data in sorted(contents.items(), key=lambda item: (".dist-info" in item[0], item)):
            entry = zipfile.ZipInfo(name)
            entry.external_attr = (0o100755 if name in code else 0o100644) << 16
            entry.compress_type = zipfile.ZIP_DEFLATED
            archive.writestr(entry, data)
    return wheel


def pack(build, output):
    """A wheel of a build in `output`."""
    with tempfile.TemporaryDirectory() as stage:
        libraries = gather(build, stage)
        libraries = bundle.make_portable(libraries, os.path.join(stage, NAME + ".libs"))
        return write(stage, libraries, output)


def main():
    """Writes the wheel and prints its name."""
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("--build", required=True)
    parser.add_argument("--output", default="dist")
    arguments = parser.parse_args()
    print(pack(arguments.build, arguments.output))


if __name__ == "__main__":
    main()
