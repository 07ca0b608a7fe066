"""The rival's part of the GigE benchmark: Aravis's Python bindings on the same camera."""
import json
import sys
import time

import gi

gi.require_version("Aravis", "0.8")
from gi.repository import Aravis  # noqa: E402


def main():
    """Copies frames for a while and prints the figures as JSON."""
    address, width, height, duration = sys.argv[1], *map(int, sys.argv[2:4]), float(sys.argv[4])
    camera = Aravis.Camera.new(address)
    camera.set_region(0, 0, width, height)
    camera.set_exposure_time(10.0)
    camera.set_frame_rate(5000.0)
    stream = camera.create_stream(None, None)
    payload = camera.get_payload()
    for _ in range(16):
        stream.push_buffer(Aravis.Buffer.new_allocate(payload))
    camera.start_acquisition()
    frames, start, cpu = 0, time.perf_counter(), time.process_time()
    while time.perf_counter() - start < duration:
        buffer = stream.timeout_pop_buffer(1000000)
        if buffer is None:
            continue
        if buffer.get_status() == Aravis.BufferStatus.SUCCESS:
            bytearray(buffer.get_data())
            frames += 1
        stream.push_buffer(buffer)
    json.dump({"frames": frames, "seconds": time.perf_counter() - start,
               "cpu": time.process_time() - cpu}, sys.stdout)
    camera.stop_acquisition()


if __name__ == "__main__":
    main()
