"""Files of scripts that are killed, of disks that are full or cannot be written: old or new, whole."""

import os
import random
import shutil
import signal
import subprocess
import sys
import time

import pytest

ENDS = ("png", "tif", "jpg", "bmp", "pgm")
COMMON = """
import os, subprocess, sys
import libZelCameraApiPy as zel

device = zel.PyZelCreateDevice()
camera, stream = device.GetCameraParameters(), device.GetStreamByIndex(0)
assert camera.SetIntegerValue("Width", 256) and camera.SetIntegerValue("Height", 128)
assert stream.AllocBufferQueue(4) and stream.StartAcquisition()
ENDS = %r


def save(what):
    if what == "settings.txt":
        return device.SaveConfiguration(what)
    return zel.PySaveImage(buffer, what)


def both(put):
    # Every file in two states, each of which is whole.
    global buffer
    for state in ("old", "new"):
        stream.FlushBuffers(stream.Flush_AllToInput)
        buffer = stream.GetBuffer(5000)
        assert camera.SetFloatValue("ExposureTime", {"old": 5000.0, "new": 6000.0}[state])
        put(state)


def contents():
    found = {}
    for name in sorted(os.listdir(".")):
        if name.startswith(("a.", "settings")):
            with open(name, "rb") as file:
                found[name] = file.read()
    return found


NAMES = ["a." + end for end in ENDS] + ["settings.txt"]
""" % (ENDS,)

SAVER = COMMON + """
def known(state):
    os.makedirs(state, exist_ok=True)
    for name in NAMES:
        if save(name):
            os.replace(name, os.path.join(state, name))


both(known)
print("ready", flush=True)
number = 0
while True:
    number += 1
    assert camera.SetFloatValue("ExposureTime", (5000.0, 6000.0)[number % 2])
    for name in NAMES:
        save(name)
"""

DISK = COMMON + """
FAILED = (-40003,)


def refused(why):
    before, files = contents(), os.listdir(".")
    for name in before:
        assert not save(name), (why, name)
        assert name == "settings.txt" or zel.GetLastError() in FAILED, (why, name, zel.GetLastError())
    assert contents() == before and sorted(os.listdir(".")) == sorted(files), (why, os.listdir("."))


def fill():
    # To the last byte, in pieces that get smaller.
    size = 65536
    with open("filler", "ab", buffering=0) as file:
        while size:
            try:
                file.write(b"x" * size)
            except OSError:
                size //= 2


both(lambda state: [save(name) for name in NAMES])
assert len(contents()) >= 5
fill()
refused("full")
assert not zel.PyStartMovieRecord(buffer, "m.avi", 25, "mjpeg") or not all(
    [zel.PySaveMovieFrame(buffer) for _ in range(50)] + [zel.PyFinishRecord()])
os.remove("filler")
for name in list(os.listdir(".")):
    if name.startswith("m."):
        os.remove(name)
assert all(save(name) for name in contents()), "room again"
subprocess.run(["mount", "-o", "remount,ro", os.getcwd()], check=True)
refused("read-only")
assert not zel.PyStartMovieRecord(buffer, "m.avi", 25, "mjpeg") or not zel.PyFinishRecord()
subprocess.run(["mount", "-o", "remount,rw", os.getcwd()], check=True)
assert all(save(name) for name in contents()), "writable again"
"""


def start(tmp_path, source):
    program = tmp_path / "program.py"
    program.write_text(source)
    folder = tmp_path / "files"
    folder.mkdir(exist_ok=True)
    return subprocess.Popen([sys.executable, str(program)], cwd=str(folder), stdout=subprocess.PIPE,
                            stderr=subprocess.DEVNULL), folder


def read(path):
    return path.read_bytes() if path.exists() else None


@pytest.mark.parametrize("rounds", [3, pytest.param(60, marks=pytest.mark.long)])
def test_killed_savers_leave_whole_files(tmp_path, rounds):
    dice, seen = random.Random(7), {}
    for _ in range(rounds):
        process, folder = start(tmp_path, SAVER)
        try:
            assert process.stdout.readline() == b"ready\n"
            time.sleep(dice.uniform(0.0, 0.2))
        finally:
            process.send_signal(signal.SIGKILL)
            process.wait()
            process.stdout.close()
        whole = {name: [read(folder / state / name) for state in ("old", "new")]
                 for name in ["a." + end for end in ENDS] + ["settings.txt"]}
        for name, states in whole.items():
            content = read(folder / name)
            seen[name] = seen.get(name, 0) + (content is not None)
            assert content is None or content in states, name
        shutil.rmtree(folder / "old")
        shutil.rmtree(folder / "new")
        # The saver that follows clears up what the killed one left.
        process, folder = start(tmp_path, SAVER.replace("while True:", "for _ in range(2):"))
        process.stdout.read()
        process.stdout.close()
        assert process.wait() == 0
        assert {path.name for path in folder.iterdir()} <= set(whole) | {"old", "new"}
        shutil.rmtree(folder)
    assert seen["settings.txt"] and seen["a.png"]


# A small disk, and a large one of which a quota grants a part. A quota holds for whoever has no right
# to more, which the administrator gives up here.
DISKS = {"small": "mount -t tmpfs -o size=1m tmpfs '{0}' && cd '{0}' && exec \"$@\"",
         "quota": "truncate -s 128M '{0}.image' && mkfs.btrfs -f -q --mixed '{0}.image' >&2 && mount -o loop '{0}.image' '{0}'"
                  " && cd '{0}' && btrfs quota enable . && btrfs qgroup limit 2M 0/5 . &&"
                  " exec setpriv --bounding-set=-sys_resource -- \"$@\""}


@pytest.mark.parametrize("disk", sorted(DISKS))
def test_full_and_read_only_disks_keep_what_is_there(tmp_path, disk):
    folder = tmp_path / "disk"
    folder.mkdir()
    program = tmp_path / "program.py"
    program.write_text(DISK)
    apart = ["unshare", "-m", "sh", "-c", DISKS[disk].format(folder), "sh"]
    if subprocess.run(apart + ["true"], stderr=subprocess.DEVNULL).returncode != 0:
        pytest.skip("no such file system may be mounted here")
    result = subprocess.run(apart + [sys.executable, str(program)], stderr=subprocess.PIPE, timeout=120,
                            env=dict(os.environ, LANGUAGE="C"))
    assert result.returncode == 0, result.stderr.decode(errors="replace")
