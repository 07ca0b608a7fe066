"""Streams of served cameras, packet by packet."""

import socket
import struct
import time

import pytest

import gige_client
from gige_client import CCP, NO_FRAGMENTS, SCDA, SCP, SCPS, Refused, address_number, frames, packets

WIDTH, HEIGHT = 640, 480
CHUNK_TYPE = 0x4001


def run(camera, stream, count, **features):
    """Frames of one acquisition of `count` frames, by block id."""
    camera.set("AcquisitionMode", 2)
    camera.set("AcquisitionFrameCount", count)
    for name, value in features.items():
        camera.set(name, value)
    camera.set("AcquisitionStart", 1)
    return frames(packets(stream, 1.5))


@pytest.mark.parametrize("size, extended", [(576, False), (1500, True), (9000, False)])
def test_frames_are_whole_and_say_what_they_are(serve, small, client, size, extended):
    serve("127.0.0.2", config=small)
    camera = client("127.0.0.2")
    camera.write(CCP, 2)
    camera.write(0x960, 0x40000000 if extended else 0)
    stream = camera.open_stream(size)
    header = 20 if extended else 8
    taken = run(camera, stream, 3, TestPattern=3)  # a horizontal ramp
    assert sorted(taken) == [1, 2, 3]
    stamps = []
    for frame in taken.values():
        assert frame.is_whole and len(frame.payload) == WIDTH * HEIGHT
        assert all(len(p.body) == size - 28 - header and p.extended == extended
                   for p in list(frame.by_id.values())[1:-2])
        kind, stamp, pixel, x, y = struct.unpack("!2xHQIII", frame.leader[:24])
        assert (kind, pixel, x, y) == (1, 0x01080001, WIDTH, HEIGHT) and len(frame.leader) == 36
        assert struct.unpack("!2xHI", frame.trailer) == (1, HEIGHT)
        stamps.append(stamp)
        rows = {frame.payload[i * WIDTH:(i + 1) * WIDTH] for i in range(HEIGHT)}
        assert len(rows) == 1 and sorted(rows.pop()) == list(sorted(frame.payload[:WIDTH]))
    assert stamps == sorted(stamps) and len(set(stamps)) == 3


def test_chunks_lie_behind_the_image_with_their_tags(serve, small, client):
    serve("127.0.0.2", config=small)
    camera = client("127.0.0.2")
    camera.write(CCP, 2)
    camera.set("ChunkModeActive", 1)
    stream = camera.open_stream()
    frame = run(camera, stream, 2)[2]
    assert len(frame.payload) == camera.get("PayloadSize")
    assert struct.unpack("!H", frame.leader[2:4])[0] == CHUNK_TYPE
    assert struct.unpack("!2xHII", frame.trailer[:12]) == (CHUNK_TYPE, HEIGHT, len(frame.payload))
    found, end = {}, len(frame.payload)
    while end > 0:  # backwards, as readers do
        identifier, length = struct.unpack("!II", frame.payload[end - 8:end])
        found[identifier] = frame.payload[end - 8 - length:end - 8]
        end -= 8 + length
    assert end == 0 and len(found[0xA000]) == WIDTH * HEIGHT
    assert struct.unpack("!Q", found[0xA001])[0] == 1, "the second frame"
    assert struct.unpack("!Q", found[0xA002])[0] == struct.unpack("!Q", frame.leader[4:12])[0]
    assert struct.unpack("!Q", found[0xA005])[0] == WIDTH


def test_lost_packets_are_sent_again_as_they_were(serve, small, client):
    serve("127.0.0.2", config=small)
    camera = client("127.0.0.2")
    stream = camera.open_stream()
    whole = run(camera, stream, 2)[2]
    camera.set("SimulatorPacketLoss", 20.0)
    lossy = run(camera, stream, 2)[2]
    last = max(whole.by_id)
    missing = [i for i in range(last + 1) if i not in lossy.by_id]
    assert 20 <= len(missing) <= 80
    for i in missing:
        camera.resend(2, i, i)
    again = {p.id: p for p in packets(stream, 0.3)}
    assert sorted(again) == missing and all(p.status == 0x100 for p in again.values())
    assert frames(list(lossy.by_id.values()) + list(again.values()))[2].is_whole
    assert again[missing[5]].body == whole.by_id[missing[5]].body
    # To the end; beyond it; a frame that never was.
    camera.resend(2, last - 2, 0xFFFFFF)
    assert [p.id for p in packets(stream, 0.3)] == [last - 2, last - 1, last]
    camera.resend(2, last + 5, last + 9)
    camera.resend(77, 3, 3)
    assert [(p.block, p.id, p.status) for p in packets(stream, 0.3)] == [
        (2, last + 5, 0x800C), (77, 3, 0x800C)]


def test_repeated_requests_are_not_an_amplifier(serve, small, client):
    """One datagram of 20 bytes may ask for a whole frame; the camera has a budget."""
    serve("127.0.0.2", config=small)
    camera = client("127.0.0.2")
    stream = camera.open_stream(576)
    last = max(run(camera, stream, 1)[1].by_id)
    for _ in range(400):
        camera.resend(1, 0, last)
    assert len(packets(stream, 0.5)) < 100000 < 400 * last


def test_the_same_seed_meets_the_same_faults(serve, small, client):
    serve("127.0.0.2", config=small)
    camera = client("127.0.0.2")
    stream = camera.open_stream()

    def ids(**faults):
        return [sorted(frame.by_id) for frame in run(camera, stream, 2, **faults).values()]

    first = ids(SimulatorPacketLoss=5.0)
    assert first == ids()
    assert first != ids(SimulatorPacketSeed=2)
    camera.set("SimulatorPacketLoss", 0.0)
    for name in ("SimulatorPacketTwice", "SimulatorPacketReorder", "SimulatorPacketDelay"):
        found = run(camera, stream, 2, **{name: 5.0})
        assert all(frame.is_whole for frame in found.values()), name
        camera.set(name, 0.0)
    camera.set("SimulatorTrailerLie", 3)
    assert max(run(camera, stream, 1)[1].by_id) == 0xFFFFF0
    camera.set("SimulatorTrailerLie", 0)
    camera.set("SimulatorSilence", 2)
    assert run(camera, stream, 2) == {}


def test_each_fault_does_what_its_name_says(serve, small, client):
    serve("127.0.0.2", config=small)
    camera = client("127.0.0.2")
    stream = camera.open_stream()
    camera.set("SimulatorNoise", 0)
    clean = run(camera, stream, 1, TestPattern=3)[1].by_id
    last = max(clean)

    def faulty(name, value=10.0, off=0.0):
        """Packets of one frame, as they come."""
        camera.set("AcquisitionFrameCount", 1)
        camera.set(name, value)
        camera.set("AcquisitionStart", 1)
        came = packets(stream, 0.5)
        camera.set(name, off)
        return came

    twice = [p.id for p in faulty("SimulatorPacketTwice")]
    assert last + 10 < len(twice) < 1.3 * last and set(twice) == set(clean)
    swapped = [p.id for p in faulty("SimulatorPacketReorder")]
    assert sorted(swapped) == sorted(clean) and swapped != sorted(swapped)
    assert max(abs(place - i) for place, i in enumerate(swapped)) < 9, "next to where it belongs"
    camera.set("SimulatorPacketDelayTime", 200000)
    late = [p.id for p in faulty("SimulatorPacketDelay")]
    behind = late[late.index(last) + 1:] if late[-1] != last else late[:0]
    assert sorted(late) == sorted(clean) and (behind or late != sorted(late))
    cut = faulty("SimulatorPacketCut")
    shorter = [p for p in cut if p.id in clean and len(p.body) < len(clean[p.id].body)]
    assert len(cut) <= last + 1 and len(shorter) > 5
    wrong = faulty("SimulatorPacketCorrupt")
    bits = [sum(bin(a ^ b).count("1") for a, b in zip(p.body, clean[p.id].body))
            for p in wrong if p.id in clean and 0 < p.id < last and len(p.body) == len(clean[p.id].body)]
    assert len([n for n in bits if n == 1]) > 5 and set(bits) <= {0, 1}

    def leader_and_trailer(name, value):
        came = {p.format: p for p in faulty(name, value, 0)}
        return came[1].body, came[2].body, came[2].id

    sizes = [struct.unpack("!II", leader_and_trailer("SimulatorLeaderLie", lie)[0][16:24])
             for lie in (1, 2)]
    assert sizes == [(0xFFFFFFFF,) * 2, (0, 0)]
    assert leader_and_trailer("SimulatorLeaderLie", 3)[0][12:16] == b"\x0b\xad\xf0\x0d"
    assert leader_and_trailer("SimulatorLeaderLie", 4)[0][2] == 0x3F
    assert len(leader_and_trailer("SimulatorLeaderLie", 5)[0]) == 6
    assert leader_and_trailer("SimulatorTrailerLie", 1)[1][4:8] == b"\xff" * 4
    assert leader_and_trailer("SimulatorTrailerLie", 2)[1][2] == 0x3F
    assert leader_and_trailer("SimulatorTrailerLie", 3)[2] == 0xFFFFF0
    assert len(leader_and_trailer("SimulatorTrailerLie", 4)[1]) == 3


def test_two_cameras_take_a_frame_at_the_time_they_are_told(serve, small, client):
    """A scheduled action to both, whose clocks follow the same master."""
    serve("127.0.0.2", "127.0.0.3", config=small)
    cameras = [client(address) for address in ("127.0.0.2", "127.0.0.3")]
    streams = [camera.open_stream() for camera in cameras]
    for camera in cameras:
        camera.write(0x954, 0x80000 | 0x40000)  # PTP, status codes of version 2
        camera.write(0x9804, 1)
        for name, value in (("TriggerMode", 1), ("TriggerSource", 7)):  # Action0
            camera.set(name, value, 1)
        camera.set("AcquisitionStart", 1)
    end = time.monotonic() + 20
    while any(camera.read(0x96C) != 9 for camera in cameras) and time.monotonic() < end:
        time.sleep(0.05)
    when = time.time_ns() + 300000000
    for camera in cameras:
        camera.ask(0x100, struct.pack("!IIIQ", 0, 0, 1, when), flags=0x81)
    for stream in streams:
        frame, = frames(packets(stream, 1.0)).values()
        assert frame.is_whole and struct.unpack("!Q", frame.leader[4:12])[0] == when
    with pytest.raises(Refused) as refused:
        cameras[0].ask(0x100, struct.pack("!IIIQ", 0, 0, 1, when), flags=0x81)
    assert refused.value.args == (0x8016,), "late"


def test_test_packets_have_the_size_that_was_written(serve, small, client):
    serve("127.0.0.2", config=small)
    camera = client("127.0.0.2")
    stream = camera.open_stream(1500)
    for written, size in ((1200, 1200), (8998, 8996), (60000, 9000), (100, 576)):
        camera.write(SCPS, gige_client.FIRE | NO_FRAGMENTS | written)
        assert camera.read(SCPS) == NO_FRAGMENTS | size
        data = stream.recv(65536)
        assert len(data) == size - 28 and gige_client.Packet(data).block == 0
        assert data[8:12] == b"\xff\xe9\xe2\xf1", "the shift register of the standard"
    with pytest.raises(socket.timeout):
        stream.settimeout(0.2)
        stream.recv(65536)


def test_one_controls_and_several_listen(serve, small, client):
    serve("127.0.0.2", config=small)
    group, port = "239.192.0.7", 40123
    camera, other = client("127.0.0.2"), client("127.0.0.2")
    streams = []
    for source in ("127.0.0.1", "127.0.0.8"):
        listener = gige_client.bound(group, port)
        membership = socket.inet_aton(group) + socket.inet_aton(source)
        listener.setsockopt(socket.IPPROTO_IP, socket.IP_ADD_MEMBERSHIP, membership)
        streams.append(listener)
    camera.open_stream(1500, group, port).close()
    assert other.read(SCDA) == address_number(group) and other.read(SCP) == port
    with pytest.raises(Refused):
        other.write(SCP, 0)
    first = run(camera, streams[0], 2)
    second = frames(packets(streams[1], 0.5))
    assert all(frame.is_whole for frame in first.values())
    assert {b: f.payload for b, f in first.items()} == {b: f.payload for b, f in second.items()}
    for listener in streams:
        listener.close()
