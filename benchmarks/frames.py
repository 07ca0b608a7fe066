"""Cost of a frame, of a method call, of a cancel; frames that the simulated cameras deliver."""
import statistics
import sys
import threading
import time

import libZelCameraApiPy as zel

from table import interleaved, micro


def cameras():
    """Model name -> device info of every camera that is free."""
    found = {}
    for interface in zel.PyZelSystem().GetInterfaceList():
        interface.ReEnumerateDevices(1000)
        for info in interface.GetDeviceInfoList():
            if info.GetAccessStatus() == 1:
                found.setdefault(info.GetModel(), info)
    return found


def sensor_size(info):
    """Bytes of a full Mono8 frame, to pick cameras by size."""
    device = zel.PyZelCreateDevice(info)
    if not device.IsValid():
        return 0
    camera = device.GetCameraParameters()
    size = camera.GetIntegerValue("WidthMax")[1] * camera.GetIntegerValue("HeightMax")[1]
    device.Release()
    return size


def fill_output(stream, transport, count):
    """Runs the camera until every buffer is filled, then stops it."""
    stream.FlushBuffers(stream.Flush_AllToInput)
    stream.StartAcquisition()
    deadline = time.monotonic() + 30
    while transport.GetIntegerValue("StreamOutputBufferCount")[1] < count:
        if time.monotonic() > deadline:
            sys.exit("the camera does not fill its buffers")
        time.sleep(0.005)
    stream.StopAcquisition(0)


def frame_cost(table, name, info, width=0, height=0, rounds=12, count=8):
    """GetBuffer + QueueBuffer of a frame that is ready, against copying as many bytes."""
    device = zel.PyZelCreateDevice(info)
    camera, transport = device.GetCameraParameters(), device.GetTransportParameters()
    camera.SetEnumValueStr("PixelFormat", "Mono8")
    if width:
        camera.SetIntegerValue("Width", width)
        camera.SetIntegerValue("Height", height)
    stream = device.GetStreamByIndex(0)
    stream.AllocBufferQueue(count)
    size = stream.GetBufferSize()
    # As many sources as the stream has buffers: frames do not lie in the cache either, and the copy
    # before is dropped only when the next one was made.
    sources = [memoryview(bytearray(range(256)) * (size // 256 + 1))[:size] for _ in range(count)]
    fetch, copy, kept = [], [], None
    for _ in range(rounds):
        fill_output(stream, transport, count)
        for number in range(count):
            start = time.perf_counter()
            buffer = stream.GetBuffer(0)
            stream.QueueBuffer(buffer)
            fetch.append(time.perf_counter() - start)
            start = time.perf_counter()
            kept = bytearray(sources[number])
            copy.append(time.perf_counter() - start)
    ours, rival = statistics.median(fetch), statistics.median(copy)
    table.add("frame %s (%d bytes)" % (name, size), micro(ours), "bytearray copy " + micro(rival),
              "%.2f" % (rival / ours), "copy + 10 us", ours - rival <= 10e-6)
    stream.ReleaseBufferQueue()
    stream.Release()
    device.Release()


def call_cost(table):
    """A method without arguments against a plain C function of the interpreter."""
    device = zel.PyZelCreateDevice()
    bound, plain, loops = device.IsValid, sys.getrecursionlimit, range(20000)

    def many(function):
        def run():
            for _ in loops:
                function()
        return run
    ours, by_name, rival = interleaved(
        [many(bound), many(lambda: device.IsValid()), many(plain)], 15)
    per = len(loops)
    table.add("method call, bound", micro(ours / per), "C function " + micro(rival / per),
              "%.2f" % (rival / ours))
    table.add("method call with look-up", micro(by_name / per), "C function " + micro(rival / per),
              "%.2f" % (rival / by_name))
    device.Release()


def cancel_cost(table):
    """From CancelBuffer in one thread to the return of GetBuffer in another."""
    device = zel.PyZelCreateDevice()
    stream = device.GetStreamByIndex(0)
    stream.AllocBufferQueue(4)
    latencies = []
    for _ in range(200):
        ended = []

        def wait():
            stream.GetBuffer(10000)
            ended.append(time.perf_counter())
        thread = threading.Thread(target=wait)
        thread.start()
        time.sleep(0.003)
        start = time.perf_counter()
        stream.CancelBuffer()
        thread.join()
        latencies.append(ended[0] - start)
    median = statistics.median(latencies)
    table.add("cancel of a wait, median of 200", micro(median), "worst " + micro(max(latencies)), "",
              "under 1 ms", median < 1e-3)
    stream.Release()
    device.Release()


def delivered_rate(table, model, info, seconds=2.0):
    """Frames per second that a simulated camera delivers at its best rate."""
    device = zel.PyZelCreateDevice(info)
    camera = device.GetCameraParameters()
    camera.SetBooleanValue("AcquisitionFrameRateEnable", False)
    camera.SetFloatValue("ExposureTime", camera.GetFloat("ExposureTime").GetMin()[1])
    stream = device.GetStreamByIndex(0)
    stream.AllocBufferQueue(8)
    stream.StartAcquisition()
    for _ in range(3):
        stream.QueueBuffer(stream.GetBuffer(3000))
    frames, start = 0, time.perf_counter()
    while time.perf_counter() - start < seconds:
        buffer = stream.GetBuffer(3000)
        frames += buffer is not None
        stream.QueueBuffer(buffer)
    rate = frames / (time.perf_counter() - start)
    size = stream.GetBufferSize()
    stream.StopAcquisition(0)
    source = bytes(size)
    copy, = interleaved([lambda: bytearray(source)], 15)
    table.add("%s delivers" % model, "%.0f fps, %.0f MB/s" % (rate, rate * size / 1e6),
              "copy alone %.0f fps" % (1 / copy), "%.2f" % (rate * copy))
    stream.ReleaseBufferQueue()
    stream.Release()
    device.Release()


def run(table):
    """All rows of this file."""
    found = cameras()
    sizes = {model: sensor_size(info) for model, info in found.items()}
    biggest = max(sizes, key=sizes.get)
    default = min(sizes, key=lambda model: abs(sizes[model] - 1936 * 1216))
    frame_cost(table, "64 KB", found[default], 256, 256, rounds=40)
    frame_cost(table, "2.3 MB", found[default], 1936, 1216, rounds=15)
    frame_cost(table, "25 MB", found[biggest], rounds=5)
    call_cost(table)
    cancel_cost(table)
    for model in found:
        delivered_rate(table, model, found[model])
