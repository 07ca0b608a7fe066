"""How fast served cameras send: one camera, a sink that drops every packet, one core's work."""
import ctypes
import os
import socket
import sys
import time

sys.path.append(os.path.join(os.path.dirname(os.path.abspath(__file__)),
                             "..", "tests", "python", "served"))

import gige_client
import served

BUILD = None
ADDRESS = "127.0.0.2"
SECONDS = 2.0
ROUNDS = 3
# Packet size, and the Gbit/s that one core shall send.
TARGETS = ((9000, 10.0), (1500, 5.0))
CAMERA = {"model": "Sender", "serialNumber": "SENDER", "width": 2048, "height": 2048,
          "sensor": "Mono", "maxFrameRate": 10000}
SO_ATTACH_FILTER, UDP_GRO = 26, 104


def sink(source):
    """A socket whose filter drops everything; bursts reach it in one piece, as on a link that cuts
    them in hardware."""
    opened = socket.socket(socket.AF_INET, socket.SOCK_DGRAM)
    opened.setsockopt(socket.IPPROTO_UDP, UDP_GRO, 1)
    code = ctypes.create_string_buffer(b"\x06\0\0\0\0\0\0\0")  # return 0
    opened.setsockopt(socket.SOL_SOCKET, SO_ATTACH_FILTER,
                      bytes(ctypes.c_ushort(1)) + bytes(6)
                      + bytes(ctypes.c_void_p(ctypes.addressof(code))))
    opened.bind((source, 0))
    return opened


def sent_bytes():
    """Bytes that went over loopback."""
    with open("/proc/net/dev", encoding="ascii") as lines:
        fields = next(line for line in lines if line.strip().startswith("lo:")).split()
    return int(fields[9])


def processor_seconds(pid):
    """What a process has used, the kernel's work for it included."""
    with open("/proc/%d/stat" % pid, encoding="ascii") as line:
        fields = line.read().rsplit(")", 1)[1].split()
    return (int(fields[11]) + int(fields[12])) / os.sysconf("SC_CLK_TCK")


def measure(process, size, segmented):
    """Best of some rounds: Gbit/s, and Gbit/s for each core that was busy."""
    camera = gige_client.Client(ADDRESS, "127.0.0.1")
    camera.write(gige_client.CCP, 2)
    camera.write(0x938, 60000)
    target = sink("127.0.0.1")
    camera.write(gige_client.SCPS, gige_client.NO_FRAGMENTS | size)
    camera.write(gige_client.SCDA, gige_client.address_number("127.0.0.1"))
    camera.write(gige_client.SCP, target.getsockname()[1])
    camera.set("AcquisitionFrameRateEnable", 0)
    camera.set("ExposureTime", 10.0)
    camera.set("SimulatorRepeatedFrames", 4)
    camera.set("SimulatorPacketSegmentation", segmented)
    camera.set("AcquisitionStart", 1)
    time.sleep(0.5)  # the frames that are repeated are rendered
    results = []
    for _ in range(ROUNDS):
        start, before, cpu = time.perf_counter(), sent_bytes(), processor_seconds(process.pid)
        time.sleep(SECONDS)
        bits = 8 * (sent_bytes() - before) / 1e9
        seconds = time.perf_counter() - start
        used = max(processor_seconds(process.pid) - cpu, 0.01)
        results.append((bits / used, bits / seconds, used / seconds))
    camera.set("AcquisitionStop", 1)
    camera.write(gige_client.CCP, 0)
    camera.close()
    target.close()
    return max(results)


def run(table):
    """All rows of this file."""
    program = os.path.join(BUILD, "bin", served.PROGRAM)
    if not os.path.exists(program):
        table.note("GigE sender", "%s was not built" % program)
        return
    with served.served(BUILD, ADDRESS, CAMERA) as process:
        for size, target in TARGETS:
            for segmented in (1, 0):
                per_core, rate, cores = measure(process, size, segmented)
                table.add("GigE sender, packets of %d B, %s" % (
                    size, "cut by the kernel" if segmented else "one by one"),
                          "%.1f Gbit/s on %.2f cores" % (rate, cores),
                          "%.1f Gbit/s for a whole core" % per_core, "%.2f" % (per_core / target),
                          "%.0f Gbit/s" % target if segmented else "",
                          per_core >= target if segmented else None)
