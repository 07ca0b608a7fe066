"""The rival's part of the GigE benchmark: Aravis's Python bindings on the same camera.

vision_aravis.py ADDRESS WIDTH HEIGHT SECONDS, or ADDRESS WIDTH HEIGHT drain COUNT ROUNDS."""
import json
import sys
import time

import gi

gi.require_version("Aravis", "0.8")
from gi.repository import Aravis  # noqa: E402


def streaming(camera, stream, duration):
    """Takes the bytes of frames for a while."""
    camera.start_acquisition()
    frames, start, cpu = 0, time.perf_counter(), time.process_time()
    while time.perf_counter() - start < duration:
        buffer = stream.timeout_pop_buffer(1000000)
        if buffer is None:
            continue
        if buffer.get_status() == Aravis.BufferStatus.SUCCESS:
            buffer.get_data()
            frames += 1
        stream.push_buffer(buffer)
    figures = {"frames": frames, "seconds": time.perf_counter() - start,
               "cpu": time.process_time() - cpu}
    camera.stop_acquisition()
    return figures


def drained(camera, stream, count, rounds):
    """Seconds per frame of frames that have arrived: pop, copy, push, while the camera stands. What
    the bindings give is bytes; a script that changes pixels copies them once more."""
    times = {"bytes": [], "bytearray": []}
    for number in range(2 * rounds):
        kind = (bytes, bytearray)[number % 2]  # bytes of bytes are no copy
        camera.start_acquisition()
        end = time.perf_counter() + 10.0
        while stream.get_n_buffers()[1] < count and time.perf_counter() < end:
            time.sleep(0.005)
        camera.stop_acquisition()
        time.sleep(0.2)
        size = 0
        start = time.perf_counter()
        for _ in range(count):
            buffer = stream.pop_buffer()
            size += len(kind(buffer.get_data()))
            stream.push_buffer(buffer)
        times[kind.__name__].append((time.perf_counter() - start) / count)
        assert size == count * camera.get_payload()
    return times


def main():
    """Prints the figures as JSON."""
    address, width, height = sys.argv[1], *map(int, sys.argv[2:4])
    drain = sys.argv[4] == "drain"
    camera = Aravis.Camera.new(address)
    camera.set_region(0, 0, width, height)
    camera.set_exposure_time(10.0)
    camera.set_frame_rate(5000.0)
    stream = camera.create_stream(None, None)
    payload = camera.get_payload()
    count = int(sys.argv[5]) if drain else 16
    for _ in range(count):
        stream.push_buffer(Aravis.Buffer.new_allocate(payload))
    figures = (drained(camera, stream, count, int(sys.argv[6])) if drain
               else streaming(camera, stream, float(sys.argv[4])))
    json.dump(figures, sys.stdout)


if __name__ == "__main__":
    main()
