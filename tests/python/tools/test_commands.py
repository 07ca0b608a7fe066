"""Every command but `view`: what it prints, what it leaves behind, how it fails."""

import json
import os
import pty
import re
import signal
import struct
import subprocess
import urllib.request

import pytest

from conftest import ENVIRONMENT, PROGRAM, interrupt, wait_for

MONO, BAYER, RGB = "10000001", "10000002", "50000001"


def png_size(path):
    data = path.read_bytes()
    assert data[:8] == b"\x89PNG\r\n\x1a\n" and data[-8:-4] == b"IEND"
    return struct.unpack(">II", data[16:24])


def test_list_and_the_one_rule_by_which_cameras_are_chosen(zelcam):
    cameras = zelcam("list", "--json").json["cameras"]
    assert len(cameras) == 6 and [c["index"] for c in cameras] == [1, 2, 3, 4, 5, 6]
    text = zelcam("list").out
    assert all(c["serial"] in text and c["model"] in text for c in cameras)
    bayer = next(c for c in cameras if c["serial"] == BAYER)
    for choice in (BAYER, bayer["model"], bayer["address"], bayer["display"], "#2", "2", "2448c"):
        assert zelcam("get", "DeviceSerialNumber", "-c", choice).out == BAYER + "\n", choice
    for choice, said in (("nothing", "no camera fits"), ("zelcam", "several cameras"),
                         ("#7", "no camera fits"), ("", "no camera fits")):
        wrong = zelcam("get", "Width", "-c", choice, code=3)
        assert said in wrong.err and wrong.err.count("\n") == 1 and not wrong.out
    assert "no camera was found" in zelcam("list", ZELCAM_SIMULATOR="off").out
    assert "zelcam doctor" in zelcam("info", code=3, ZELCAM_SIMULATOR="off").err


def test_features_are_shown_read_written_and_run(zelcam):
    tree = zelcam("features", "--json", "--visibility", "guru").json["features"]
    by_name = {f["name"]: f for f in tree}
    width = by_name["Width"]
    assert width["access"] == "RW" and width["min"] <= width["value"] <= width["max"]
    assert by_name["ImageFormatControl"]["type"] == "Category"
    assert by_name["ExposureTime"]["unit"] == "us"
    assert "Mono8" in by_name["PixelFormat"]["entries"]
    assert len(zelcam("features", "--visibility", "beginner").out) < len(zelcam("features").out)
    found = [line for line in zelcam("features", "exposuret").out.splitlines() if line[0] == "E"]
    assert found[0].startswith("ExposureTime") and "[10.0 .. 10000000.0]" in found[0]
    assert zelcam("features", "--of", "transport", "StreamAnnounced").out
    assert zelcam("get", "Width", "Height", "--json").json["values"] == {"Width": 1936,
                                                                        "Height": 1216}
    written = zelcam("set", "Width=0x100", "ExposureTime=1234.5", "ReverseX=on", "PixelFormat=Mono12")
    assert written.out.split() == ["Width=256", "ExposureTime=1234.5", "ReverseX=true",
                                   "PixelFormat=Mono12"]
    assert zelcam("run", "TimestampLatch").out == "TimestampLatch: done\n"
    for arguments, code, said in (
            (("set", "Width=7"), 1, "out of range"), (("set", "Width=abc"), 2, "whole number"),
            (("set", "Nothing=1"), 1, "no such feature"), (("set", "Width"), 2, "NAME=VALUE"),
            (("set", "PixelFormat=Nothing"), 1, "no such entry"), (("set", "WidthMax=1"), 1, "permitted"),
            (("run", "Width"), 1, "another type"), (("get", "TriggerSoftware"), 1, "cannot be read")):
        wrong = zelcam(*arguments, code=code)
        assert said in wrong.err and wrong.err.count("\n") == 1, arguments
        refused = zelcam(*arguments, "--json", code=code).json
        assert refused["ok"] is False and said in refused["error"]["text"]


@pytest.mark.parametrize("arguments", [(), ("nothing",), ("get",), ("list", "--nothing"),
                                       ("grab", "-n", "0"), ("grab", "-n", "2", "-o", "same.png"),
                                       ("grab", "-o", "%s.png"), ("grab", "-o", "%99999d.png"),
                                       ("list", "--timeout", "soon"), ("memory", "read", "x", "4"),
                                       ("memory", "write", "0", "0f0"), ("forceip", "1.2.3"),
                                       ("forceip", "10.0.0.1"), ("config",)])
def test_wrong_command_lines(zelcam, arguments):
    wrong = zelcam(*arguments, code=2)
    assert wrong.err.startswith("zelcam: ") and wrong.err.count("\n") == 1 and not wrong.out


def test_grab_saves_what_was_asked_for(zelcam, tmp_path):
    files = zelcam("grab", "-n", "3", "-o", "a-%03d.png", "--every", "2").out.split()
    assert files == ["a-000.png", "a-001.png", "a-002.png"]
    assert {png_size(tmp_path / name) for name in files} == {(1936, 1216)}
    told = zelcam("grab", "-n", "2", "-o", "b%d.jpg", "--trigger", "software", "--newest", "--json",
                  "-c", BAYER).json
    assert [f["file"] for f in told["files"]] == ["b0.jpg", "b1.jpg"] and told["lost"] == 0
    assert (tmp_path / "b0.jpg").read_bytes()[:3] == b"\xff\xd8\xff"
    zelcam("grab", "-o", "c.ppm", "-c", RGB)
    assert (tmp_path / "c.ppm").read_bytes().startswith(b"P6")
    zelcam("grab", "-o", "d.raw")
    assert (tmp_path / "d.raw").stat().st_size == 1936 * 1216
    zelcam("grab", "-n", "1", "-o", "e.png", "--trigger", "key", stdin=b"\n")
    assert png_size(tmp_path / "e.png") == (1936, 1216)
    assert "no such file or folder" in zelcam("grab", "-o", "nowhere/f.png", code=6).err
    assert "cannot become such a file" in zelcam("grab", "-o", "f.xyz", code=6).err
    assert "no frame within 300 ms" in zelcam("grab", "--trigger", "Line0", "--timeout", "300",
                                              code=5).err


@pytest.mark.parametrize("serial", [MONO, BAYER, RGB])
def test_every_pixel_format_becomes_a_picture(zelcam, tmp_path, serial):
    entry = zelcam("features", "PixelFormat", "--json", "-c", serial).json["features"]
    names = next(f for f in entry if f["name"] == "PixelFormat")["entries"]
    assert len(names) > 8
    for name in names:
        zelcam("grab", "-o", name + ".png", "-c", serial, "--set", "Width=256", "--set", "Height=128",
               "--set", "PixelFormat=" + name, code=1 if name == "YUV8_UYV" else 0)
        if name != "YUV8_UYV":
            assert png_size(tmp_path / (name + ".png")) == (256, 128)


def test_ctrl_c_keeps_what_was_written(started, tmp_path):
    process = started("grab", "-n", "100000", "-o", "k-%d.png")
    assert wait_for(lambda: (tmp_path / "k-2.png").exists())
    code, out, _ = interrupt(process)
    assert code == 130
    assert {png_size(tmp_path / name) for name in out.split()} == {(1936, 1216)}
    process = started("record", "-o", "m.mkv", "-t", "1000", "-c", RGB)
    assert wait_for(lambda: (tmp_path / "m.mkv").exists() and (tmp_path / "m.mkv").stat().st_size > 100000)
    code, out, _ = interrupt(process)
    assert code == 130 and int(re.search(r"(\d+) frames", out).group(1)) > 0


def test_record_and_progress_in_a_pipe(zelcam, tmp_path):
    done = zelcam("record", "-o", "m.avi", "-t", "1", "--rate", "20", "--codec", "mjpeg", "-c", BAYER)
    assert done.out.startswith("m.avi: ") and (tmp_path / "m.avi").stat().st_size > 100000
    assert re.search(r"^ *[0-9]+ %  .*frames", done.err, re.M) and "\r" not in done.err
    wrong = zelcam("record", "-o", "m.avi", "-t", "1", "--codec", "nothing", code=6)
    assert "codec" in wrong.err and "mjpeg" in wrong.err
    zelcam("record", "-o", "m.txt", "-t", "1", code=6)


def test_progress_is_a_bar_on_a_terminal(tmp_path):
    terminal, other = pty.openpty()
    process = subprocess.Popen([str(PROGRAM), "grab", "-n", "5", "-o", "t-%d.png"], stderr=other,
                               stdout=subprocess.DEVNULL, cwd=str(tmp_path), env=ENVIRONMENT)
    os.close(other)
    shown = b""
    while True:
        try:
            part = os.read(terminal, 4096)
        except OSError:
            break
        if not part:
            break
        shown += part
    os.close(terminal)
    assert process.wait(timeout=60) == 0
    assert b"\r\033[K[" in shown and b"5 of 5" in shown


def test_stats_and_events_tell_as_they_go(zelcam):
    lines = [json.loads(line) for line in zelcam("stats", "-t", "2.5", "--json").out.splitlines()]
    assert len(lines) >= 2 and lines[-1]["ok"] and lines[-1]["frames"] > 10
    assert 10 < lines[-1]["frames_per_second"] < 60 and lines[0]["latency_ms"] > 0
    told = zelcam("events", "FrameStart", "--acquire", "-t", "1", "--json")
    events = [json.loads(line) for line in told.out.splitlines()]
    assert told.json["counts"]["FrameStart"] == len(events) - 1 > 2
    assert events[0]["event"] == "FrameStart" and len(events[0]["data"]) == 48
    assert "no event 'Nothing'" in zelcam("events", "Nothing", "-t", "1", code=1).err


def test_settings_and_memory(zelcam, tmp_path):
    zelcam("config", "save", "s.txt")
    assert "Width" in (tmp_path / "s.txt").read_text()
    zelcam("config", "load", "s.txt")
    assert zelcam("config", "load", "nothing.txt", code=6)
    (tmp_path / "bad.txt").write_text("no settings\n")
    assert zelcam("config", "load", "bad.txt", code=6).err.count("\n") == 1
    dump = zelcam("memory", "read", "0", "32").out.splitlines()
    assert len(dump) == 2 and dump[1].startswith("00000010  ")
    assert len(zelcam("memory", "read", "0x0", "32", "--json").json["bytes"]) == 64
    assert "address" in zelcam("memory", "read", "0x7fffffffffff", "4", code=1).err


def test_producers_and_forced_addresses(zelcam):
    cti = PROGRAM.parent.parent / "python" / "zelcam_simulator.cti"
    listed = zelcam("list", "--json", "--provider", cti, ZELCAM_SIMULATOR="off").json["cameras"]
    assert [c["serial"] for c in listed].count(MONO) == 1
    assert zelcam("get", "Width", "--provider", cti, "-c", MONO, ZELCAM_SIMULATOR="off").out == "1936\n"
    assert "producer" in zelcam("list", "--provider", "nothing.cti", code=6).err
    assert zelcam("forceip", "192.168.9.9", "-c", MONO, "--json").json["address"] == "192.168.9.9"
    assert zelcam("forceip", "192.168.9.9", "-c", RGB, code=1)


def test_doctor_reads_the_host(zelcam, tmp_path):
    def write(files):
        for name, text in files.items():
            path = tmp_path / "root" / name
            path.parent.mkdir(parents=True, exist_ok=True)
            path.write_text(text + "\n")

    usual = {"proc/sys/net/core/rmem_max": "33554432", "proc/stat": "cpu 1 0 1 1000 0 0 0",
             "sys/class/net/eth1/type": "1", "sys/class/net/eth1/operstate": "up",
             "sys/class/net/eth1/mtu": "9000", "proc/sys/net/ipv4/conf/all/rp_filter": "0",
             "proc/sys/net/ipv4/conf/eth1/rp_filter": "2",
             "sys/module/usbcore/parameters/usbfs_memory_mb": "1000",
             "sys/devices/system/cpu/cpu0/cpufreq/scaling_governor": "performance"}
    write(usual)

    def look(code):
        findings = zelcam("doctor", "--root", tmp_path / "root", "--json", code=code).json["findings"]
        return {f["topic"]: f for f in findings}

    assert {f["level"] for f in look(0).values() if f["topic"] != "movies"} == {"good"}
    write({"proc/sys/net/core/rmem_max": "212992", "sys/class/net/eth1/mtu": "1500",
           "proc/sys/net/ipv4/conf/all/rp_filter": "1", "sys/class/net/ev;l/type": "1",
           "proc/sys/net/ipv4/conf/eth1/rp_filter": "0",
           "sys/module/usbcore/parameters/usbfs_memory_mb": "16",
           "sys/devices/system/cpu/cpu0/cpufreq/scaling_governor": "powersave",
           "sys/bus/usb/devices/2-1/busnum": "2", "sys/bus/usb/devices/2-1/devnum": "7",
           "sys/bus/usb/devices/2-1:1.0/bInterfaceClass": "ef",
           "sys/bus/usb/devices/2-1:1.0/bInterfaceSubClass": "05"})
    bad = look(1)
    for topic, level in (("receive buffers", "problem"), ("frame size of eth1", "hint"),
                         ("reverse path filter of eth1", "hint"), ("USB memory", "problem"),
                         ("processor speed", "hint"), ("USB permission", "problem")):
        assert bad[topic]["level"] == level and bad[topic]["why"] and bad[topic]["mend"], topic
    # A name that the shell would run is left out.
    assert not any("ev;l" in f["mend"] for f in bad.values())
    assert "ef0500" in zelcam("doctor", "--udev-rule").out
    zelcam("doctor", "--fix", "--root", tmp_path / "root", code=2)


def test_doctor_looks_at_cameras_producers_and_the_link(zelcam, tmp_path):
    bad = tmp_path / "bad.cti"
    bad.write_bytes(b"no library")
    cti = PROGRAM.parent.parent / "python" / "zelcam_simulator.cti"
    done = subprocess.run([str(PROGRAM), "doctor", "--link", "--json"], env=dict(
        ENVIRONMENT, GENICAM_GENTL64_PATH="%s:%s:/nowhere" % (bad, cti)), stdout=subprocess.PIPE, stderr=subprocess.PIPE)
    findings = json.loads(done.stdout.splitlines()[-1])["findings"]
    producers = [f for f in findings if f["topic"] == "producer"]
    assert [f["level"] for f in producers] == ["problem", "good", "problem"]
    assert len([f for f in findings if f["topic"] == "camera"]) >= 6
    link = next(f for f in findings if f["topic"] == "link")
    assert re.search(r"[1-9]\d* frames in 2", link["found"])


def test_doctor_mends_what_is_agreed_to(tmp_path):
    """In a network of our own: "y" runs the command, anything else leaves things as they are."""
    own = ["unshare", "-nm", "sh", "-ec", """mount -t sysfs sysfs /sys; ip link set lo up
ip link add cam0 mtu 1500 type veth peer name cam1 mtu 1500; ip link set cam0 up; ip link set cam1 up
exec "$@\"""", "sh"]
    if subprocess.run(own + ["true"], stderr=subprocess.DEVNULL).returncode or os.geteuid():
        pytest.skip("no network of our own is permitted")
    process = subprocess.Popen(own + ["sh", "-c", '"$0" doctor --fix; echo $?; cat /sys/class/net/cam?/mtu', str(PROGRAM)],
                               env=ENVIRONMENT, stdin=subprocess.PIPE, stdout=subprocess.PIPE,
                               stderr=subprocess.PIPE, cwd=str(tmp_path))
    asked = {}
    while True:
        question = b""
        while not question.endswith(b"[y/N] ") and (got := process.stderr.read(1)):
            question += got
        if not question.endswith(b"[y/N] "):
            break
        command = re.search("`(.*)`", question.decode()).group(1)
        asked[command] = "cam0" in command
        process.stdin.write(b"y\n" if asked[command] else b"n\n")
        process.stdin.flush()
    *told, one, other = process.communicate(timeout=30)[0].decode().split()
    assert asked["ip link set dev cam0 mtu 9000"] and not asked["ip link set dev cam1 mtu 9000"]
    assert (one, other) == ("9000", "1500") and told[-1] in "01"


KINDS = {"simulated": {}, "served": {"ZELCAM_VISION": "lo", "ZELCAM_SIMULATOR": "off"},
         "producer": {"ZELCAM_SIMULATOR": "off", "GENICAM_GENTL64_PATH": str(
             PROGRAM.parent.parent / "python" / "zelcam_simulator.cti")}}


@pytest.fixture(scope="module")
def served_camera(tmp_path_factory):
    """A camera on loopback for as long as the tests run."""
    process = subprocess.Popen([str(PROGRAM), "serve", "--address", "127.0.0.2"], env=ENVIRONMENT,
                               stdout=subprocess.PIPE, cwd=str(tmp_path_factory.mktemp("served")))
    for line in process.stdout:
        if b"Ctrl-C" in line:
            break
    yield "127.0.0.2"
    process.send_signal(signal.SIGINT)
    assert process.wait(timeout=20) == 0
    process.stdout.close()


@pytest.mark.parametrize("kind", KINDS)
def test_every_command_on_every_kind_of_camera(zelcam, started, tmp_path, kind, request):
    address = request.getfixturevalue("served_camera") if kind == "served" else "192.168.9.9"
    small = ("--set", "Width=320", "--set", "Height=240")

    def tell(*arguments, **options):
        """The objects of a command's JSON, the last one last."""
        done = zelcam(*arguments, "-c", MONO, "--json", **KINDS[kind], **options)
        return [json.loads(line) for line in done.out.splitlines()]

    assert MONO in [camera["serial"] for camera in zelcam(
        "list", "--json", **KINDS[kind]).json["cameras"]]
    for arguments, wanted in (
            (("info",), {"serial": MONO, "model": "ZG-1936M", "streams": 1}),
            (("set", "Width=640", "Height=480"), {"values": {"Width": 640, "Height": 480}}),
            (("get", "WidthMax"), {"values": {"WidthMax": 1936}}),
            (("run", "TimestampLatch"), {"done": ["TimestampLatch"]}),
            (("grab", "-n", "2", "-o", "g-%d.png", *small), {"frames": 2, "lost": 0}),
            (("grab", "-n", "2", "-o", "t-%d.tif", "--trigger", "software", "--newest", *small), {}),
            (("config", "save", "s.txt"), {"saved": "s.txt"}),
            (("config", "load", "s.txt"), {"loaded": "s.txt"}),
            (("memory", "write", "0xe8", "414200"), {"written": 3}),
            (("memory", "read", "0x48", "8"), {"bytes": "5a656c63616d2053"}),
            (("forceip", address, "255.0.0.0" if kind == "served" else "255.255.255.0"),
             {"address": address})):
        answer = tell(*arguments)[-1]
        assert answer["ok"] and answer["command"] == arguments[0]
        assert {key: answer[key] for key in wanted} == wanted, arguments
    assert png_size(tmp_path / "g-1.png") == (320, 240) and (tmp_path / "t-1.tif").exists()
    assert {"Width", "WidthMax"} <= {f["name"] for f in tell("features", "Width")[-1]["features"]}
    assert tell("record", "-o", "m.mkv", "-t", "0.6", *small)[-1]["frames"] > 3
    assert (tmp_path / "m.mkv").stat().st_size > 1000
    assert tell("stats", "-t", "0.6", *small)[-1]["frames"] > 3
    assert tell("events", "ExposureEnd", "--acquire", "-t", "0.6")[-1]["counts"]["ExposureEnd"] > 1
    found = zelcam("doctor", "--link", "-c", MONO, "--json", code=None, **KINDS[kind]).json["findings"]
    assert re.search(r"[1-9]\d* frames in", next(f for f in found if f["topic"] == "link")["found"])
    view = started("view", "--port", "0", "-c", MONO, "--json", **KINDS[kind])
    link = json.loads(view.stdout.readline())["link"]
    with urllib.request.urlopen(link + "api/0/frame?quality=50", timeout=30) as picture:
        assert picture.read(3) == b"\xff\xd8\xff"
    assert interrupt(view)[0] == 0
    grab = started("grab", "-n", "100000", "-o", "k-%d.png", "-c", MONO, *small, **KINDS[kind])
    assert wait_for(lambda: (tmp_path / "k-2.png").exists())
    if kind == "served":
        assert "another program" in zelcam("get", "Width", "-c", MONO, code=4, **KINDS[kind]).err
    code, out, _ = interrupt(grab)
    assert code == 130 and {png_size(tmp_path / name) for name in out.split()} == {(320, 240)}


def test_served_cameras_are_found_and_grabbed_from(tmp_path):
    """Over the network, in one of our own."""
    own = ["unshare", "-n", "sh", "-c", 'ip link set lo up && exec "$@"', "sh"]
    if subprocess.run(own + ["true"], stderr=subprocess.DEVNULL).returncode:
        pytest.skip("no network of our own is permitted")
    done = subprocess.run(own + ["sh", "-ec", """
"$1" serve --address 127.0.0.2 --address 127.0.0.3 -t 100 >serve.txt &
while ! grep -q Ctrl serve.txt; do sleep 0.1; done
export ZELCAM_SIMULATOR=off ZELCAM_VISION=lo
"$1" list --json
"$1" grab -n 2 -o s-%d.png -c 127.0.0.3 --json
"$1" set ExposureTime=1234 -c "$2" --json
kill -INT $!
wait $!
""", "sh", str(PROGRAM), MONO], cwd=str(tmp_path), env=ENVIRONMENT, timeout=90,
                          stdout=subprocess.PIPE, stderr=subprocess.PIPE)
    assert done.returncode == 0, done.stdout + done.stderr
    listed, grabbed, written = map(json.loads, done.stdout.splitlines())
    assert [c["address"] for c in listed["cameras"]] == ["127.0.0.2", "127.0.0.3"]
    assert grabbed["ok"] and png_size(tmp_path / "s-1.png") == (2448, 2048)
    assert written["values"] == {"ExposureTime": 1234.0}


def test_the_program_describes_itself(zelcam):
    share = PROGRAM.parent.parent / "share"
    page = (share / "man" / "man1" / "zelcam.1").read_text()
    for name in ("list", "grab", "doctor", "view", "memory read", "\\-\\-timeout", "Exit codes"):
        assert name in page
    completion = share / "bash-completion" / "completions" / "zelcam"
    words = subprocess.run(["bash", "-c", """
. "$1"; COMP_WORDS=(zelcam --json gra); COMP_CWORD=2; _zelcam; echo "${COMPREPLY[@]}"
COMP_WORDS=(zelcam grab --tri); COMP_CWORD=2; _zelcam; echo "${COMPREPLY[@]}" """, "x",
                            str(completion)], stdout=subprocess.PIPE).stdout.decode().split()
    assert words == ["grab", "--trigger"]
    assert "describe" not in zelcam("--help").out and "zelcam 1" in zelcam("--version").out
