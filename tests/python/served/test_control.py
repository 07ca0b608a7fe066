"""Finding, addressing and describing served cameras."""

import os
import pathlib
import random
import struct
import subprocess
import sys
import time

import pytest

import gige_client
from gige_client import CCP, Refused, address_number, discover


def text(identity, offset, size):
    return identity[offset:offset + size].split(b"\0")[0].decode()


def test_one_command_of_the_example_is_obeyed_by_all(serve, small):
    serve("127.0.0.2", "127.0.0.3", config=small)
    example = pathlib.Path(__file__).parents[3] / "examples" / "action_command.py"
    result = subprocess.run([sys.executable, str(example), "--frames", "2"], timeout=60,
                            env=dict(os.environ, ZELCAM_SIMULATOR="off", ZELCAM_VISION="lo"),
                            stdout=subprocess.PIPE, stderr=subprocess.PIPE)
    assert result.returncode == 0, result.stdout + result.stderr
    assert [result.stdout.count(serial) for serial in (b"(S0)", b"(S1)")] == [2, 2]


@pytest.mark.parametrize("to", ["127.255.255.255", "255.255.255.255"])
def test_discovery_finds_every_camera_at_its_own_address(serve, small, client, to):
    serve("127.0.0.2", "127.0.0.3", config=small)
    answers = {text(identity, 0xD8, 16): (sender, identity) for sender, identity in discover(to)}
    assert {serial: sender for serial, (sender, _) in answers.items()} == {
        "S0": ("127.0.0.2", 3956), "S1": ("127.0.0.3", 3956)}
    macs = {identity[10:16] for _, identity in answers.values()}
    assert len(macs) == 2 and all(mac[0] & 3 == 2 for mac in macs), "locally administered"
    for sender, identity in answers.values():
        assert identity == client(sender[0]).read_memory(0, 248)
        assert identity[0x24:0x28] == struct.pack("!I", address_number(sender[0]))
    assert [sender for sender, _ in discover("127.0.0.3")] == [("127.0.0.3", 3956)]


def test_the_description_lies_zipped_and_plain(serve, client):
    serve("127.0.0.2")
    camera = client("127.0.0.2")
    xml = camera.description(0x200)
    assert xml == camera.description(0x400) and xml.rstrip().endswith("</RegisterDescription>")
    assert camera.read(0x9000) == 2 and camera.read(0x9008) == 0x200
    for name in ("GevSCPSPacketSize", "GevSCDA", "GevSCPHostPort", "GevCCP", "TLParamsLocked"):
        assert 'Name="%s"' % name in xml


def force_ip(client, identity, address):
    mac = identity[10:16]
    payload = bytearray(56)
    payload[2:8] = mac
    payload[20:24] = struct.pack("!I", address_number(address))
    payload[36:40] = b"\xff\0\0\0"
    asking = gige_client.bound("127.0.0.1")
    asking.sendto(struct.pack("!BBHHH", 0x42, 0x01, 4, 56, 9) + payload, ("255.255.255.255", 3956))
    status = struct.unpack("!H", asking.recvfrom(2048)[0][:2])[0]
    asking.close()
    return status


def test_cameras_move_among_their_addresses_and_keep_them(serve, small, client, tmp_path):
    settings = tmp_path / "settings.json"
    cameras = serve("127.0.0.2", "127.0.0.3", "127.0.0.4", config=small, settings=settings)
    identity = discover("127.0.0.2")[0][1]
    assert force_ip(client, identity, "127.0.0.9") == 0x8002, "not one of theirs"
    assert force_ip(client, identity, "127.0.0.3") == 0x8002, "the other's"
    assert force_ip(client, identity, "127.0.0.4") == 0
    assert cameras.where() == {"S0": "127.0.0.4", "S1": "127.0.0.3"}
    assert discover("127.0.0.2", seconds=0.2) == []
    camera = client("127.0.0.4")
    camera.write(CCP, 2)
    assert force_ip(client, identity, "127.0.0.2") == 0x8006, "in use"
    camera.write(0x64C, address_number("127.0.0.4"))
    camera.write(0x65C, 0xFF000000)
    camera.write(0x14, 5)
    camera.write_memory(0xE8, b"press 4".ljust(16, b"\0"))
    camera.write(CCP, 0)
    assert cameras.end() == (0, "")
    cameras = serve("127.0.0.2", "127.0.0.3", "127.0.0.4", config=small, settings=settings)
    assert cameras.where()["S0"] == "127.0.0.4"
    assert text(discover("127.0.0.4")[0][1], 0xE8, 16) == "press 4"


def test_a_killed_client_is_followed_after_its_heartbeat(serve, small, client):
    serve("127.0.0.2", config=small)
    first, second = client("127.0.0.2"), client("127.0.0.2")
    stream = first.open_stream()
    first.write(0x938, 600)
    first.set("AcquisitionStart", 1)
    stream.recv(2048)
    first.close()  # without a word
    with pytest.raises(Refused):
        second.write(CCP, 2)
    end = time.monotonic() + 10
    while second.read(CCP) != 0 and time.monotonic() < end:
        time.sleep(0.05)
    assert second.read(0xD00) == 0, "the stream is closed"
    second.write(CCP, 2)
    second.set("Width", 320)
    assert second.get("AcquisitionStatus") == 0 and second.get("Width") == 320


def test_a_reset_camera_goes_and_comes_back(serve, small, client):
    serve("127.0.0.2", config=small)
    camera = client("127.0.0.2")
    camera.write(CCP, 2)
    camera.set("DeviceReset", 1)
    assert discover("127.0.0.2", seconds=0.3) == []
    time.sleep(1.0)
    assert len(discover("127.0.0.2", seconds=1.0)) == 1
    assert camera.read(CCP) == 0


def test_events_are_repeated_until_they_are_acknowledged(serve, small, client):
    serve("127.0.0.2", config=small)
    camera, events = client("127.0.0.2"), gige_client.bound("127.0.0.1")
    camera.write(CCP, 2)
    camera.write(0xB14, 100)
    camera.write(0xB18, 3)
    camera.write(0xB10, address_number("127.0.0.1"))
    camera.write(0xB00, events.getsockname()[1])
    camera.set("EventNotification", 1, 7)
    camera.set("TestEventGenerate", 1)
    first, sender = events.recvfrom(2048)
    assert sender == ("127.0.0.2", camera.read(0xB1C))
    key, flags, command, length, request = struct.unpack("!BBHHH", first[:8])
    assert (key, flags & 0x11, command, length) == (0x42, 1, 0xC2, 24)
    assert struct.unpack("!HH", first[8:12])[1] == 0x9008
    assert events.recvfrom(2048)[0] == first, "again"
    events.sendto(struct.pack("!HHHH", 0, 0xC3, 0, request), sender)
    camera.set("TestEventGenerate", 1)
    again = events.recvfrom(2048)[0]
    assert struct.unpack("!H", again[6:8])[0] != request, "the next one, not the first again"


def test_answers_lie_once_and_silence_ends_with_the_session(serve, small, client):
    serve("127.0.0.2", config=small)
    camera = client("127.0.0.2")
    camera.write(CCP, 2)
    camera.write(0x938, 500)
    camera.set("SimulatorAnswerLie", 5)
    with pytest.raises(Refused) as refused:
        camera.read(CCP)
    assert refused.value.args == (0x8ABC,)
    assert camera.read(CCP) == 2
    camera.set("SimulatorSilence", 1)
    assert discover("127.0.0.2", seconds=0.2) == []
    time.sleep(0.6)
    assert len(discover("127.0.0.2", seconds=1.0)) == 1


def test_floods_of_rubbish_do_no_harm(serve, small, client):
    """Random commands and valid ones with changed bytes, of all sizes, from the controller's address
    and from strangers', while frames are sent: what the camera takes of its host stays the same."""
    cameras = serve("127.0.0.2", config=small)
    camera, stranger = client("127.0.0.2"), gige_client.bound("127.0.0.7")
    stream = camera.open_stream()
    camera.set("AcquisitionStart", 1)
    dice = random.Random(3)
    seconds = 60.0 if os.environ.get("ZELCAM_LONG_TESTS") else 2.0
    process = pathlib.Path("/proc/%d" % cameras.process.pid)

    def taken():
        pages = int((process / "statm").read_text().split()[1])
        return pages * 4096, len(list((process / "task").iterdir())), len(list((process / "fd").iterdir()))

    def valid():
        """What a host may send, but for the privilege and what stops or moves the camera."""
        at = struct.pack("!I", dice.choice([0, 0x200, 0x938, 0xB00, 0xD04, 0x10000, 0x400000]))
        return dice.choice([(2, b""), (0x80, at * dice.randrange(1, 130)), (0x82, at + b"\0\0\0\1"),
                            (0x84, at + b"\0\0\2\0"), (0x86, at + bytes(8)), (0x100, bytes(12)),
                            (0x40, struct.pack("!HHII", 0, dice.randrange(99), 0, 0xFFFFFF))])

    def rubbish():
        if dice.random() < 0.5:
            command, body = valid()
            packet = bytearray(struct.pack("!BBHHH", 0x42, 1, command, len(body),
                                           dice.randrange(1, 65536)) + body)
            for _ in range(dice.randrange(4)):
                packet[dice.randrange(len(packet))] ^= 1 << dice.randrange(8)
            return packet
        size = dice.choice([0, 4, 8, 12, 20, 56, 300, 576, 1472, dice.randrange(9000)])
        command = dice.choice([2, 4, 0x40, 0x80, 0x82, 0x84, 0x86, 0xC0, 0xC1, 0xC3, 0x100, 0x4444])
        length = size if dice.random() < 0.9 else dice.randrange(65536)
        return struct.pack("!BBHHH", 0x42, dice.randrange(256), command, length & 0xFFFF,
                           dice.randrange(65536)) + os.urandom(size)

    def writes_a_feature(packet):
        """The controller may unplug the camera: that would be no fault."""
        words = [int.from_bytes(packet[at:at + 4], "big") for at in range(8, len(packet), 4)]
        return packet[3:4] in (b"\x82", b"\x86") and any(0x10000 <= w < 0x20000 for w in words)

    camera.socket.setblocking(False)
    before, sent, end = None, 0, time.monotonic() + seconds
    while time.monotonic() < end:
        for _ in range(200):
            packet = rubbish()
            stranger_sends = dice.random() < 0.5 or writes_a_feature(packet)
            (stranger if stranger_sends else camera.socket).sendto(packet, camera.camera)
            sent += 1
            try:
                while True:
                    camera.socket.recv(2048)
            except OSError:
                pass
        if before is None and time.monotonic() > end - seconds * 0.8:
            before = taken()
    after = taken()
    # The camera keeps the last frames: 128 of them, if it runs for that long.
    grown = 40e6 if seconds < 10 else 4e6
    assert cameras.is_alive() and after[0] - before[0] < grown and after[1:] == before[1:], (
        sent, before, after)
    stream.close()
    stranger.close()
    assert gige_client.discover("127.0.0.2", seconds=2.0), "it still answers"
