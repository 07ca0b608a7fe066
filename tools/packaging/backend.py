"""Build backend: `pip install .` and `python -m build` over ./run build."""
import io
import os
import re
import subprocess
import sys
import tarfile

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))

import wheel  # noqa: E402


def get_requires_for_build_wheel(config_settings=None):
    """Nothing from a registry: compilers and libraries are Debian's packages."""
    return []


get_requires_for_build_sdist = get_requires_for_build_wheel


def prepare_metadata_for_build_wheel(metadata_directory, config_settings=None):
    """What is known without building: nothing is built twice."""
    name = "%s-%s.dist-info" % (wheel.NAME, wheel.version())
    folder = os.path.join(metadata_directory, name)
    os.mkdir(folder)
    for file, text in (("METADATA", wheel.metadata()), ("entry_points.txt", wheel.ENTRY_POINTS)):
        with open(os.path.join(folder, file), "w", encoding="utf-8") as output:
            output.write(text)
    return name


def build_wheel(wheel_directory, config_settings=None, metadata_directory=None):
    """Builds for the interpreter that runs this and packs the result."""
    # As deep as build/, so that a compiler cache knows the objects again.
    folder = os.path.join(wheel.ROOT, "build-wheel-cp%d%d" % sys.version_info[:2])
    environment = {name: value for name, value in os.environ.items() if name != "PYTHONPATH"}
    subprocess.run([os.path.join(wheel.ROOT, "run"), "wheel", "--python", sys.executable,
                    "--build", folder, wheel_directory], check=True, cwd=wheel.ROOT,
                   env=environment, stdout=sys.stderr)
    made = [name for name in os.listdir(wheel_directory) if name.endswith(".whl")]
    return max(made, key=lambda name: os.path.getmtime(os.path.join(wheel_directory, name)))


def build_sdist(sdist_directory, config_settings=None):
    """The files that git tracks; in an unpacked sdist, all that is there."""
    stem = "%s-%s" % (wheel.NAME, wheel.version())
    path = os.path.join(sdist_directory, stem + ".tar.gz")
    with tarfile.open(path, "w:gz", format=tarfile.PAX_FORMAT) as archive:
        for name in sorted(sources()):
            archive.add(os.path.join(wheel.ROOT, name), stem + "/" + name, recursive=False)
        described = tarfile.TarInfo(stem + "/PKG-INFO")
        data = wheel.metadata().encode()
        described.size = len(data)
        archive.addfile(described, io.BytesIO(data))
    return os.path.basename(path)


def sources():
    """Names of the project's files below its folder."""
    if os.path.exists(os.path.join(wheel.ROOT, ".git")):
        listed = subprocess.run(["git", "ls-files", "-z"], check=True, cwd=wheel.ROOT,
                                stdout=subprocess.PIPE).stdout.decode()
        return [name for name in listed.split("\0") if name]
    left_out = re.compile(r"(build(-.*)?|dist|demo-output|PKG-INFO)(/|$)")
    paths = (os.path.relpath(os.path.join(folder, name), wheel.ROOT)
             for folder, _, names in os.walk(wheel.ROOT) for name in names)
    return [path for path in paths if not left_out.match(path)]
