"""What is delivered: the wheel in a fresh environment, the C++ SDK from its prefix, the types."""

import glob
import os
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile
import zipfile

import pytest

ROOT = pathlib.Path(__file__).resolve().parents[3]
BUILD = pathlib.Path(os.environ["ZELCAM_TEST_BUILD"])
# Nothing of the build tree is found by chance.
CLEAN = {name: value for name, value in os.environ.items()
         if name not in ("PYTHONPATH", "LD_LIBRARY_PATH", "LD_PRELOAD")}
CLEAN.update(ZELCAM_VISION="off", PYTHONDONTWRITEBYTECODE="1")

FIRST_STEPS = """
import libZelCameraApiPy as zel, zelcam
device = zel.PyZelCreateDevice()
stream = device.GetStreamByIndex(0)
assert stream.AllocBufferQueue(3) and stream.StartAcquisition()
buffer = stream.GetBuffer(20000)
assert zel.PySaveImage(buffer, "module.png"), zel.GetLastError()
stream.StopAcquisition(0), stream.Release(), device.Release()
with zelcam.open(model="ZG-2448C") as camera:
    for name in ("png", "tif", "jpg"):
        camera.grab(20).save("layer." + name)
"""


def run(*command, **options):
    """Runs a program; the test fails with what it printed when it does."""
    options.setdefault("env", CLEAN)
    done = subprocess.run([str(part) for part in command], stdout=subprocess.PIPE,
                          stderr=subprocess.STDOUT, text=True, timeout=600, **options)
    assert done.returncode == 0, done.stdout
    return done.stdout


@pytest.fixture(scope="session")
def wheel(tmp_path_factory):
    for tool in ("patchelf", "strip", "readelf"):
        if shutil.which(tool) is None:
            pytest.skip("no %s here" % tool)
    if os.environ.get("ZELCAM_TEST_SANITIZED"):
        pytest.skip("a sanitized build is not delivered")
    folder = tmp_path_factory.mktemp("wheel")
    run(sys.executable, ROOT / "tools" / "packaging" / "wheel.py", "--build", BUILD, "--output",
        folder)
    return next(folder.glob("*.whl"))


def test_wheel_brings_all_but_the_runtime(wheel, tmp_path):
    assert re.match(r"libZelCameraApiPy-[\d.]+-cp3\d+-cp3\d+-manylinux_2_\d\d_\w+\.whl$", wheel.name)
    assert wheel.stat().st_size < 15 * 1000 * 1000
    with zipfile.ZipFile(wheel) as archive:
        archive.extractall(tmp_path)
        names = archive.namelist()
    assert "zelcam/py.typed" in names and "libZelCameraApiPy-stubs/__init__.pyi" in names
    files = [name for name in names if re.search(r"\.(so(\.|$)|cti$)|-program$", name)]
    there = {os.path.basename(name) for name in files}
    for name in files:
        told = run("readelf", "-d", tmp_path / name)
        for wanted in re.findall(r"\(NEEDED\).*\[(.*)\]", told):
            assert (wanted in there
                    or re.match(r"(libc|libm|libstdc\+\+|libgcc_s|ld-linux-x86-64|libdl|libpthread|"
                                r"librt|libresolv)\.so", wanted)
                    or name == "libZelMovie.so" and wanted.startswith(("libav", "libsw"))), \
                "%s wants %s" % (name, wanted)
        assert str(BUILD) not in told, name


def test_nothing_brings_a_foreign_main_loop():
    """Libraries that keep global state, print or abort by themselves are no part of the product."""
    delivered = [path for path in (BUILD / "python").iterdir() if path.suffix in (".so", ".cti")]
    assert len(delivered) >= 9
    for path in [*delivered, BUILD / "bin" / "zelcam"]:
        if path.name != "libZelMovie.so":  # what FFmpeg's libraries bring along is theirs
            assert not re.search(r"lib(aravis|glib|gobject|gio|gmodule|xml2|icu)", run("ldd", path))


def test_wheel_installs_and_works_in_a_fresh_environment(wheel, tmp_path):
    pytest.importorskip("ensurepip", reason="python3-venv is not installed")
    run(sys.executable, "-m", "venv", tmp_path / "venv")
    python = tmp_path / "venv" / "bin" / "python"
    run(python, "-m", "pip", "install", "--no-index", "--quiet", wheel)
    run(python, "-c", FIRST_STEPS, cwd=str(tmp_path))
    for name in ("module.png", "layer.png", "layer.tif", "layer.jpg"):
        assert (tmp_path / name).stat().st_size > 10000
    if (BUILD / "bin" / "zelcam").exists():
        assert "ZG-1936M" in run(tmp_path / "venv" / "bin" / "zelcam", "list", cwd=str(tmp_path))
        assert "ZG-1936M" in run(python, "-m", "zelcam", "list", cwd=str(tmp_path))
    assert "libZelCameraApiPy" in run(python, "-m", "pip", "show", "-f", "libZelCameraApiPy")


@pytest.mark.long
def test_wheel_works_on_a_bare_debian(wheel, tmp_path):
    """Nothing but the C and C++ runtime and an interpreter. BARE_ROOT names a root made before."""
    if os.geteuid() or shutil.which("debootstrap") is None:
        pytest.skip("a root needs the administrator and debootstrap")
    root = pathlib.Path(os.environ.get("BARE_ROOT", tmp_path / "root"))
    if not (root / "etc").exists():
        made = subprocess.run(["debootstrap", "--variant=minbase", "--include=python3-venv,libstdc++6",
                               "bookworm", str(root)], stdout=subprocess.DEVNULL)
        if made.returncode:
            pytest.skip("no packages can be got")
    assert not list(root.glob("usr/lib/*/libtiff.so*")) and not list(root.glob("usr/include/c++"))
    place = pathlib.Path(tempfile.mkdtemp(dir=str(root / "tmp")))
    shutil.copy(wheel, place)
    (place / "first.py").write_text(FIRST_STEPS)
    own = root.joinpath(*pathlib.Path(sys.base_prefix).parts[1:])
    own.mkdir(parents=True, exist_ok=True)
    # The interpreter under test, unless it is Debian's and there already.
    mount = "" if sys.base_prefix == "/usr" else 'mount --bind "$3" "$1$3";'
    script = """mount -t proc proc "$1/proc"; %s exec chroot "$1" sh -ec 'cd "$0"; "$1" -m venv v
v/bin/pip install --no-index --quiet *.whl; v/bin/python first.py; v/bin/zelcam list' "/tmp/$2" "$4" """
    python = os.path.join(sys.base_prefix, "bin", "python3")
    told = run("unshare", "-m", "sh", "-ec", script % mount, "sh", root, place.name, sys.base_prefix,
               python)
    assert "ZG-1936M" in told and (place / "layer.png").stat().st_size > 10000


def test_sdist_holds_what_is_needed_to_build(tmp_path):
    if shutil.which("git") is None or not (ROOT / ".git").exists():
        pytest.skip("no git checkout here")
    program = ("import sys; sys.path.insert(0, %r); import backend; print(backend.build_sdist(%r))"
               % (str(ROOT / "tools" / "packaging"), str(tmp_path)))
    name = run(sys.executable, "-c", program).split()[-1]
    listed = run("tar", "tf", tmp_path / name)
    stem = name[:-len(".tar.gz")]
    for wanted in ("PKG-INFO", "pyproject.toml", "run", "CMakeLists.txt", "module/module_entry.cpp",
                   "tools/packaging/backend.py"):
        assert "%s/%s\n" % (stem, wanted) in listed


def test_cpp_programs_build_against_the_installed_sdk(tmp_path):
    if os.environ.get("ZELCAM_TEST_SANITIZED"):
        pytest.skip("a sanitized build is not delivered")
    prefix = tmp_path / "prefix"
    run("cmake", "--install", BUILD, "--prefix", prefix)
    example = ROOT / "examples" / "cpp"
    run("cmake", "-S", example, "-B", tmp_path / "build", "-DCMAKE_PREFIX_PATH=%s" % prefix)
    run("cmake", "--build", tmp_path / "build")
    assert "ZG-1936M" in run(tmp_path / "build" / "first_frame", "cmake.png", cwd=str(tmp_path))
    config = glob.glob(str(prefix / "lib" / "**" / "zelcamera.pc"), recursive=True)
    environment = dict(CLEAN, PKG_CONFIG_PATH=os.path.dirname(config[0]))
    flags = run("pkg-config", "--cflags", "--libs", "--define-variable=prefix=%s" % prefix,
                "zelcamera", env=environment).split()
    run("c++", "-std=c++17", example / "first_frame.cpp", *flags, "-o", tmp_path / "plain")
    run(tmp_path / "plain", "plain.png", cwd=str(tmp_path))
    assert all((tmp_path / name).stat().st_size > 10000 for name in ("cmake.png", "plain.png"))
    headers = sorted(header.relative_to(prefix / "include" / "zelcam")
                     for header in (prefix / "include" / "zelcam").rglob("*.h"))
    for header in headers:
        (tmp_path / "alone.cpp").write_text('#include "%s"\n' % header)
        run("c++", "-std=c++17", "-Wall", "-Wextra", "-Werror", "-fsyntax-only",
            "-I%s" % (prefix / "include" / "zelcam"), tmp_path / "alone.cpp")


def test_types_are_complete(tmp_path):
    if shutil.which("mypy") is None:
        pytest.skip("mypy is not installed")
    for folder in ("examples", "examples/layer"):  # names stand in both
        run("mypy", "--cache-dir=%s" % (tmp_path / "cache"), "--strict", BUILD / "python" / "zelcam",
            *sorted(glob.glob(str(ROOT / folder / "*.py"))), cwd=str(ROOT),
            env=dict(CLEAN, MYPYPATH=str(BUILD / "python")))


def test_the_other_type_checker_agrees(tmp_path):
    pyright = shutil.which("pyright") or os.environ.get("PYRIGHT")
    if pyright is None:
        pytest.skip("no pyright here")
    text = (ROOT / "pyproject.toml").read_text().replace("build/python", "b/python")
    (tmp_path / "pyproject.toml").write_text(text)
    (tmp_path / "b").symlink_to(BUILD)
    (tmp_path / "examples").symlink_to(ROOT / "examples")
    assert "0 errors" in run(pyright, "-p", tmp_path, "--pythonpath", "/usr/bin/python3",
                             cwd=str(tmp_path))
