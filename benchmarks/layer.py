"""What the Python layer adds to a frame of the bare module."""
import statistics
import time

import zelcam
from table import micro


def run(table):
    """fetch() of a frame that is ready against GetBuffer, its bytes and QueueBuffer, in turn."""
    count, bare, layered, kept = 64, [], [], None
    with zelcam.open() as camera:
        camera.features.update(Width=64, Height=64, AcquisitionMode="MultiFrame",
                               AcquisitionFrameCount=count, AcquisitionFrameRateEnable=False,
                               ExposureTime=10)
        for _ in range(30):
            camera.start(buffers=count)
            stream = camera._stream
            deadline = time.monotonic() + 2
            while camera.transport["StreamOutputBufferCount"] < count and time.monotonic() < deadline:
                time.sleep(0.01)
            # A busy machine loses some.
            for number in range(int(camera.transport["StreamOutputBufferCount"])):
                start = time.perf_counter()
                if number % 2:
                    buffer = stream.GetBuffer(0)
                    kept = buffer.GetBufferPtr()
                    stream.QueueBuffer(buffer)
                    bare.append(time.perf_counter() - start)
                else:
                    kept = camera.fetch(0)
                    layered.append(time.perf_counter() - start)
            camera.stop()
        del kept
    ours, rival = statistics.median(layered), statistics.median(bare)
    table.add("frame of the layer", micro(ours), "bare module " + micro(rival), "%.2f" % (rival / ours),
              "5 us more", ours - rival <= 5e-6)
