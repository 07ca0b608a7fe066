"""A wire between two networks that loses, doubles and reorders packets: a program over two TAP
adapters. tap_wire.py PID CAPTURE LOST TWICE REORDERED

"wire0" appears in the network that it is started in, "wire1" in the one of process PID. Percentages
hold for packets from wire1 to wire0 of more than 200 bytes, so that the control channel stays what
it is. Everything that was put on the wire is written to CAPTURE (libpcap) when standard input ends.
"""

import ctypes
import fcntl
import os
import random
import select
import struct
import sys
import time

TUNSETIFF, IFF_TAP, IFF_NO_PI = 0x400454CA, 0x0002, 0x1000
CLONE_NEWNET = 0x40000000
LONGEST, SMALL = 16384, 200
MOST_CAPTURED = 64 << 20


def tap(name):
    fd = os.open("/dev/net/tun", os.O_RDWR)
    fcntl.ioctl(fd, TUNSETIFF, struct.pack("16sH14x", name.encode(), IFF_TAP | IFF_NO_PI))
    return fd


def main():
    lost, twice, reordered = map(float, sys.argv[3:6])
    near = tap("wire0")
    home = os.open("/proc/%s/ns/net" % sys.argv[1], os.O_RDONLY)
    if ctypes.CDLL(None, use_errno=True).setns(home, CLONE_NEWNET) != 0:
        sys.exit("no way into the other network")
    far = tap("wire1")
    print("ready", flush=True)
    dice = random.Random(7)
    captured = [struct.pack("<IHHiIII", 0xA1B2C3D4, 2, 4, 0, 0, LONGEST, 1)]
    size, held = 0, []

    def put(fd, packet):
        nonlocal size
        try:
            os.write(fd, packet)
        except OSError:
            return  # That end is not up.
        if size < MOST_CAPTURED:
            now = time.time()
            size += len(packet)
            captured.append(struct.pack("<IIII", int(now), int(now % 1 * 1e6), len(packet),
                                        len(packet)) + packet)

    while True:
        ready = select.select([near, far, 0], [], [], 0.005 if held else None)[0]
        if 0 in ready:
            break
        if near in ready:
            put(far, os.read(near, LONGEST))
        if far in ready:
            packet = os.read(far, LONGEST)
            fate = dice.uniform(0, 100) if len(packet) > SMALL else 100.0
            if fate < lost:
                continue
            if fate < lost + reordered:
                held.append(packet)
                continue
            put(near, packet)
            if fate < lost + reordered + twice:
                put(near, packet)
        while held:
            put(near, held.pop())
    with open(sys.argv[2], "wb") as file:
        file.write(b"".join(captured))


if __name__ == "__main__":
    main()
