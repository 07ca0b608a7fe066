"""GigE Vision as a host speaks it, in a few lines over plain sockets."""

import io
import re
import socket
import struct
import time
import zipfile

PORT = 3956
CCP, SCP, SCPS, SCDA, SCSP = 0xA00, 0xD00, 0xD04, 0xD18, 0xD1C
FIRE, NO_FRAGMENTS = 1 << 31, 1 << 30


def address_number(text):
    return struct.unpack("!I", socket.inet_aton(text))[0]


def bound(source, port=0):
    opened = socket.socket(socket.AF_INET, socket.SOCK_DGRAM)
    opened.setsockopt(socket.SOL_SOCKET, socket.SO_REUSEADDR, 1)
    opened.setsockopt(socket.SOL_SOCKET, socket.SO_BROADCAST, 1)
    opened.setsockopt(socket.SOL_SOCKET, socket.SO_RCVBUF, 1 << 23)
    opened.bind((source, port))
    opened.settimeout(2.0)
    return opened


def discover(to, source="127.0.0.1", seconds=0.5):
    """Answers to one discovery: (sender, 248 bytes) each."""
    asking, answers = bound(source), []
    asking.sendto(struct.pack("!BBHHH", 0x42, 0x11, 2, 0, 77), (to, PORT))
    end = time.monotonic() + seconds
    while time.monotonic() < end:
        asking.settimeout(max(0.001, end - time.monotonic()))
        try:
            data, sender = asking.recvfrom(2048)
        except socket.timeout:
            break
        assert struct.unpack("!HHHH", data[:8]) == (0, 3, 248, 77) and len(data) == 256
        answers.append((sender, data[8:]))
    asking.close()
    return answers


class Refused(Exception):
    """An answer that says no; args[0] is its status."""


class Client:
    def __init__(self, address, source):
        self.camera, self.source, self.id = (address, PORT), source, 0
        self.socket = bound(source)
        self.nodes = None

    def close(self):
        self.socket.close()

    def ask(self, command, payload, flags=1):
        self.id = self.id % 65535 + 1
        self.socket.sendto(struct.pack("!BBHHH", 0x42, flags, command, len(payload), self.id)
                           + payload, self.camera)
        while True:
            data, sender = self.socket.recvfrom(2048)
            status, code, length, request = struct.unpack("!HHHH", data[:8])
            if request != self.id or code == 0x89:
                continue
            assert code == command + 1 and length == len(data) - 8
            if status:
                raise Refused(status)
            return data[8:]

    def read(self, address):
        return struct.unpack("!I", self.ask(0x80, struct.pack("!I", address)))[0]

    def write(self, address, value):
        self.ask(0x82, struct.pack("!II", address, value))

    def read_memory(self, address, size):
        data = b""
        while len(data) < size:
            count = min(512, (size - len(data) + 3) // 4 * 4)
            data += self.ask(0x84, struct.pack("!IHH", address + len(data), 0, count))[4:]
        return data[:size]

    def write_memory(self, address, data):
        self.ask(0x86, struct.pack("!I", address) + data)

    def description(self, url_register=0x200):
        url = self.read_memory(url_register, 512).split(b"\0")[0].decode()
        name, address, size = re.fullmatch(r"Local:([^;]+);([0-9A-Fa-f]+);([0-9A-Fa-f]+)",
                                           url).groups()
        data = self.read_memory(int(address, 16), int(size, 16))
        if name.endswith(".zip"):
            with zipfile.ZipFile(io.BytesIO(data)) as archive:
                assert archive.testzip() is None
                data = archive.read(archive.namelist()[0])
        return data.decode()

    def place(self, feature, index=0):
        """Address and length of a feature's register."""
        if self.nodes is None:
            found = re.findall(r'<(?:IntReg|FloatReg|StringReg) Name="(\w+)".*?'
                               r"<Address>(\w+)</Address>(?:\s*<pIndex Offset=\"(\w+)\">)?.*?"
                               r"<Length>(\d+)</Length>", self.description(), re.S)
            self.nodes = {name: (int(at, 16), int(step or "0", 16), int(length))
                          for name, at, step, length in found}
        at, step, length = self.nodes[feature + "Reg" if feature + "Reg" in self.nodes else feature]
        return at + index * step, length

    def set(self, feature, value, index=0):
        at, length = self.place(feature, index)
        packed = struct.pack("!d", value) if isinstance(value, float) else value.to_bytes(length, "big")
        self.write_memory(at, packed)

    def get(self, feature, index=0):
        at, length = self.place(feature, index)
        return int.from_bytes(self.read_memory(at, length), "big")

    def open_stream(self, size=1500, to=None, port=None):
        """Control, a destination and a packet size; returns the receiving socket."""
        stream = bound(self.source)
        self.write(CCP, 2)
        self.write(0x938, 60000)  # nothing here sends heartbeats
        self.write(SCPS, NO_FRAGMENTS | size)
        self.write(SCDA, address_number(to or self.source))
        self.write(SCP, port or stream.getsockname()[1])
        return stream

    def resend(self, block, first, last):
        self.socket.sendto(struct.pack("!BBHHHHHII", 0x42, 0, 0x40, 12, 1, 0, block, first, last),
                           self.camera)


class Packet:
    """One packet of a stream, either form."""

    def __init__(self, data):
        self.status, second, kind = struct.unpack("!HHB", data[:5])
        self.extended, self.format = bool(kind & 0x80), kind & 0x7F
        if self.extended:
            self.block, self.id = struct.unpack("!QI", data[8:20])
            self.body = data[20:]
        else:
            self.block, self.id = second, int.from_bytes(data[5:8], "big")
            self.body = data[8:]


def packets(stream, seconds=1.0):
    """All packets until none comes for so long."""
    stream.settimeout(seconds)
    found = []
    try:
        while len(found) < 150000:
            found.append(Packet(stream.recv(65536)))
    except socket.timeout:
        return found


class Frame:
    def __init__(self, members):
        self.by_id = {}
        for packet in members:
            self.by_id.setdefault(packet.id, packet)
        last = max(self.by_id)
        self.is_whole = (sorted(self.by_id) == list(range(last + 1)) and
                         self.by_id[0].format == 1 and self.by_id[last].format == 2)
        if self.is_whole:
            self.leader, self.trailer = self.by_id[0].body, self.by_id[last].body
            self.payload = b"".join(self.by_id[i].body for i in range(1, last))


def frames(found):
    """Frames by block id."""
    blocks = {}
    for packet in found:
        blocks.setdefault(packet.block, []).append(packet)
    return {block: Frame(members) for block, members in blocks.items()}
