"""Events over the message channel of a GigE Vision camera. The camera's side is played here: its
packets are sent from its address to where its registers say that its client listens."""

import random
import socket
import struct
import time

import pytest

EVENT, EVENT_ACK, EVENT_DATA, EVENT_DATA_ACK = 0xC0, 0xC1, 0xC2, 0xC3
ACK, EXTENDED = 0x01, 0x10
INVALID_PARAMETER = 0x8002
TEST, OTHER = 0x9C01, 0x9C02
PORT, TIMEOUT, HOST = 0x0B00, 0x0B14, 0x0B10


def register(device, address):
    code, data = device.ReadMem(address, 4)
    assert code == 0
    return int.from_bytes(data, "big")


def record(event, timestamp, block=0):
    return struct.pack(">HHHHQ", 0, event, 0xFFFF, block, timestamp)


class Channel:
    """The camera's end; `address` another one to play a stranger."""

    def __init__(self, device, address="127.0.0.1"):
        self.socket = socket.socket(socket.AF_INET, socket.SOCK_DGRAM)
        self.socket.bind((address, 0))
        self.to = (socket.inet_ntoa(struct.pack(">I", register(device, HOST))), register(device, PORT))

    def send(self, command, request, payload, flags=ACK, key=0x42, length=None):
        header = struct.pack(">BBHHH", key, flags, command,
                             len(payload) if length is None else length, request)
        self.socket.sendto(header + payload, self.to)

    def answer(self, timeout=2.0):
        """(status, command, request) of an acknowledge, or None."""
        self.socket.settimeout(timeout)
        try:
            data = self.socket.recv(100)
        except socket.timeout:
            return None
        status, command, length, request = struct.unpack(">HHHH", data)
        assert length == 0
        return status, command, request


@pytest.fixture
def device(start_camera, open_by_serial):
    start_camera("E1", "events")
    return open_by_serial("E1")


@pytest.fixture
def channel(device):
    channel = Channel(device)
    yield channel
    channel.socket.close()


@pytest.fixture
def seen(device):
    """Data of the test events that came."""
    events = []
    assert device.RegisterEvent(TEST, lambda data, size, key: events.append((bytes(data), size)))
    return events


def await_count(events, count):
    end = time.monotonic() + 3
    while len(events) < count and time.monotonic() < end:
        time.sleep(0.002)
    time.sleep(0.02)
    return len(events) == count


def test_an_event_arrives_once_with_its_data(device, channel, seen):
    assert register(device, HOST) == 0x7F000001 and register(device, TIMEOUT) > 0
    # One callable gets the events of all ids that it was registered for.
    assert device.RegisterEvent(OTHER, lambda data, size, key: seen.append((bytes(data), size)))
    channel.send(EVENT, 1, record(TEST, 1000))
    assert channel.answer() == (0, EVENT_ACK, 1)
    assert await_count(seen, 1) and seen[0] == (record(TEST, 1000), 16)

    data = record(TEST, 2000) + struct.pack(">I", 77) + b"more"
    channel.send(EVENT_DATA, 2, data)
    assert channel.answer() == (0, EVENT_DATA_ACK, 2)
    assert await_count(seen, 2) and seen[1] == (data, len(data))
    camera = device.GetCameraParameters()
    assert camera.GetIntegerValue("EventTestTimestamp") == (True, 2000)
    assert camera.GetIntegerValue("EventTestNumber") == (True, 77)

    for request in (3, 3, 4, 3, 4):  # answers that came late: sent again
        channel.send(EVENT, request, record(TEST, request))
        assert channel.answer() == (0, EVENT_ACK, request)
    assert await_count(seen, 4) and [event[0][8:] for event in seen[2:]] == [
        struct.pack(">Q", 3), struct.pack(">Q", 4)]

    channel.send(EVENT, 5, record(TEST, 5) + record(OTHER, 6) + record(TEST, 7))
    assert channel.answer() == (0, EVENT_ACK, 5)
    assert await_count(seen, 7)
    assert [data for data, _ in seen[4:]] == [record(TEST, 5), record(OTHER, 6), record(TEST, 7)]

    channel.send(EVENT, 6, record(TEST, 8), flags=0)
    assert channel.answer(0.2) is None, "nobody asked"
    assert await_count(seen, 8)

    wide = struct.pack(">HHHHQQ", 0, TEST, 0, 0, 1 << 40, 9)  # 64-bit block ids
    channel.send(EVENT, 7, wide + wide, flags=ACK | EXTENDED)
    assert channel.answer() == (0, EVENT_ACK, 7)
    assert await_count(seen, 10) and seen[8] == (wide, 24)


def test_wrong_packets_do_nothing(device, channel, seen):
    good = record(TEST, 1)
    for request, wrong in ((20, b""), (21, good[:15]), (22, good + b"x")):
        channel.send(EVENT, request, wrong)
        assert channel.answer() == (INVALID_PARAMETER, EVENT_ACK, request)
    channel.send(EVENT_DATA, 23, good[:12])
    assert channel.answer() == (INVALID_PARAMETER, EVENT_DATA_ACK, 23)
    channel.send(EVENT, 24, good, flags=ACK | EXTENDED)
    assert channel.answer() == (INVALID_PARAMETER, EVENT_ACK, 24)
    channel.send(EVENT, 25, good, key=0x00)
    channel.send(EVENT, 26, good, key=0x43)
    channel.send(EVENT, 27, good, length=17)
    channel.send(EVENT_ACK, 28, good)
    channel.send(0x80, 29, good)
    channel.socket.sendto(b"", channel.to)
    channel.socket.sendto(b"\x42\x01\x00", channel.to)
    dice = random.Random(3)
    for _ in range(200):
        channel.socket.sendto(bytes(dice.randrange(256) for _ in range(dice.randrange(80))), channel.to)
    channel.socket.sendto(b"\x42\x00" * 700, channel.to)
    assert channel.answer(0.2) is None
    stranger = Channel(device, "127.0.0.2")
    stranger.send(EVENT, 30, good)
    assert stranger.answer(0.2) is None, "not the camera"
    stranger.socket.close()
    assert seen == []
    channel.send(EVENT, 31, good)
    assert channel.answer() == (0, EVENT_ACK, 31) and await_count(seen, 1)


def test_no_event_is_lost_and_their_order_is_kept(channel, seen):
    """The request id turns over in between."""
    count, request = 3000, 0xFFFF - 1000
    for number in range(count):
        request = request % 0xFFFF + 1
        channel.send(EVENT, request, record(TEST, number))
        if number % 3 == 0:
            channel.send(EVENT, request, record(TEST, number))
            assert channel.answer() == (0, EVENT_ACK, request)
        assert channel.answer() == (0, EVENT_ACK, request)
    assert await_count(seen, count)
    assert [struct.unpack(">Q", data[8:])[0] for data, _ in seen] == list(range(count))


def test_the_channel_ends_with_the_device(device, channel, seen, open_by_serial):
    for request in range(1, 50):  # some are on their way
        channel.send(EVENT, request, record(TEST, request), flags=0)
    device.Release()
    came = len(seen)
    channel.send(EVENT, 60, record(TEST, 60))
    assert channel.answer(0.3) is None
    assert len(seen) == came
    again = open_by_serial("E1")
    assert register(again, PORT) != 0
    events = []
    assert again.RegisterEvent(TEST, lambda *event: events.append(event))
    second = Channel(again)
    second.send(EVENT, 61, record(TEST, 61))
    assert second.answer() == (0, EVENT_ACK, 61) and await_count(events, 1)
    assert len(seen) == came, "callables do not outlive their session"
    second.socket.close()


def test_a_camera_without_events_is_left_alone(start_camera, open_by_serial):
    start_camera("E2")
    device = open_by_serial("E2")
    assert register(device, PORT) == 0 == register(device, HOST)
    assert device.RegisterEvent(TEST, lambda *event: None)


def test_exit_while_events_come(start_camera, run_program):
    start_camera("E3", "events")
    run_program("""
import socket, struct, threading, time
import libZelCameraApiPy as zel
interface = zel.PyZelSystem().GetInterfaceList()[0]
interface.ReEnumerateDevices(200)
device = zel.PyZelCreateDevice()
seen = []
assert device.RegisterEvent(0x9C01, lambda *event: seen.append(event))
port = int.from_bytes(device.ReadMem(0x0B00, 4)[1], "big")
source = socket.socket(socket.AF_INET, socket.SOCK_DGRAM)
source.bind(("127.0.0.1", 0))
def fire():
    number = 0
    while True:
        number = number % 0xFFFF + 1
        source.sendto(struct.pack(">BBHHHHHHHQ", 0x42, 0, 0xC0, 16, number, 0, 0x9C01, 0, 0, number),
                      ("127.0.0.1", port))
threading.Thread(target=fire, daemon=True).start()
time.sleep(0.3)
assert seen
""")
