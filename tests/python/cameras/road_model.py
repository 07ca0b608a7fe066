"""What a stream must answer in every state: calls over a camera, and the model that foretells them.

A camera that waits for software triggers is foretold exactly: how many buffers of the queue are
with the camera, filled and idle, what every call gives, which features are locked."""

import os
import random
import resource
import time

OK, LOST, RELEASED, TIMEOUT, ABORTED = 0, -1010, -1006, -1011, -1012
IN_USE, FORKED = -1004, -40051
QUIET = 30  # milliseconds in which a camera that waits for a trigger sends nothing
PATIENCE = 15  # seconds


class Wrong(AssertionError):
    pass


def expect(said, wanted, what):
    if said != wanted:
        raise Wrong("%s: %r instead of %r" % (what, said, wanted))


def await_that(condition, what):
    end = time.monotonic() + PATIENCE
    while not condition():
        expect(time.monotonic() < end, True, what)
        time.sleep(0.005)


class Road:
    """Every call may be made at any time: one that makes no sense in a state does nothing."""

    def __init__(self, zel, info, take_away, bring_back):
        self.zel, self.info, self.take_away, self.bring_back = zel, info, take_away, bring_back
        self.device = self.stream = None
        self.closed()

    def closed(self):
        self.is_open = self.has_stream = self.runs = self.is_lost = self.stopped = False
        self.queued = self.ready = self.idle = 0
        self.current = None  # the buffer of the queue that was fetched last and not given back

    def works(self):
        return self.has_stream and not self.is_lost

    def announced(self):
        return self.queued + self.ready + self.idle

    def said(self, answer, wanted, what):
        """When the stream, its device or the camera is gone everything is refused."""
        expect(answer, bool(wanted) and self.works(), what)
        return answer

    def count(self, name):
        known, value = self.transport.GetIntegerValue(name)
        expect(known, True, name)
        return value

    def check(self):
        if self.works():
            expect([self.stream.GetBufferQueueSize()]
                   + [self.count("Stream%sBufferCount" % kind) for kind in ("Input", "Output")],
                   [self.announced(), self.queued, self.ready], "buffers announced, in, out")

    def open(self):
        device = self.zel.PyZelCreateDevice(self.info)
        if self.is_open:
            code = self.zel.GetLastError()
            expect((device.IsValid(), code in (IN_USE, LOST)), (False, True), "open twice: %d" % code)
            return
        expect(device.IsValid(), True, "open: %d" % self.zel.GetLastError())
        self.device, self.is_open, self.stream = device, True, None
        self.camera, self.transport = device.GetCameraParameters(), device.GetTransportParameters()
        for name, value in (("TriggerSelector", "FrameStart"), ("TriggerSource", "Software"),
                            ("TriggerMode", "On")):
            expect(self.camera.SetEnumValueStr(name, value), True, name)

    def close(self):
        if self.device is not None:
            self.device.Release()
            expect(self.device.GetStreamByIndex(0), None, "a stream of a closed device")
            if self.is_lost:
                self.bring_back(self.info)
            self.closed()

    def get_stream(self):
        if not self.is_open:
            return
        stream = self.device.GetStreamByIndex(0)
        expect(stream is not None, not self.is_lost, "GetStreamByIndex")
        if stream is not None and not self.has_stream:
            self.stream, self.has_stream, self.was_allocated = stream, True, False

    def release_stream(self):
        if self.stream is None:
            return
        self.stream.Release()
        expect((self.stream.StartAcquisition(), self.stream.GetBufferQueueSize()), (False, 0),
               "a released stream")
        lost, device = self.is_lost, self.is_open
        self.closed()
        self.stream, self.is_lost, self.is_open = None, lost, device

    def alloc(self, count):
        if self.stream is None:
            return
        if self.said(self.stream.AllocBufferQueue(count), count > 0 and not self.runs, "AllocBufferQueue"):
            self.queued, self.ready, self.idle = count, 0, 0
            self.current, self.was_allocated = None, True

    def release_queue(self):
        if self.stream is not None and self.said(
                self.stream.ReleaseBufferQueue(), not self.runs, "ReleaseBufferQueue"):
            self.queued, self.ready, self.idle, self.current = 0, 0, 0, None

    def start(self):
        if self.stream is not None and self.said(
                self.stream.StartAcquisition(),
                not self.runs and self.announced() >= self.stream.GetMinNumBuffers(), "StartAcquisition"):
            self.runs = True

    def stop(self, flags):
        if self.stream is not None:
            answer = self.stream.StopAcquisition(flags)
            if self.runs or not self.stopped:  # the one before may still be under way
                self.said(answer, self.runs, "StopAcquisition")
            self.stopped = self.stopped or self.runs
            self.runs = False

    def trigger(self):
        if not self.works() or not self.runs or not self.queued:
            return
        before = self.count("StreamDeliveredFrameCount")
        expect(self.camera.ExecuteCommand("TriggerSoftware"), True, "TriggerSoftware")
        await_that(lambda: self.count("StreamDeliveredFrameCount") != before, "a frame comes")
        expect(self.count("StreamDeliveredFrameCount"), before + 1, "frames of one trigger")
        self.queued, self.ready = self.queued - 1, self.ready + 1

    def fetch(self):
        if self.stream is None:
            return
        before = self.stream.GetLastError()
        buffer = self.stream.GetBuffer(0 if self.ready else QUIET)
        if not self.was_allocated:
            expect((buffer, self.stream.GetLastError()), (None, before), "GetBuffer before a queue")
        elif self.ready:
            expect((buffer is not None, self.stream.GetLastError()), (True, OK), "GetBuffer")
            expect((buffer.IsIncomplete(), len(buffer.GetBufferPtr()) > 0), (False, True), "a frame")
            self.ready, self.idle, self.current = self.ready - 1, self.idle + 1, buffer
        else:
            why = RELEASED if not self.has_stream else LOST if self.is_lost else TIMEOUT
            code = self.stream.GetLastError()
            # A slow stop goes on behind its caller and ends the waits once more at its end.
            code = TIMEOUT if code == ABORTED and self.stopped else code
            expect((buffer, code), (None, why), "GetBuffer without a frame")
            self.stopped = False
            self.current = None  # the wrapper has lost it; only a flush brings it back

    def give_back(self):
        if self.stream is None or self.current is None:
            return
        if self.said(self.stream.QueueBuffer(self.current), True, "QueueBuffer"):
            expect(self.stream.QueueBuffer(self.current), False, "QueueBuffer twice")
            self.queued, self.idle = self.queued + 1, self.idle - 1
        self.current = None

    def flush(self, mode):
        if self.stream is None or not self.said(
                self.stream.FlushBuffers(mode), 1 <= mode <= 4, "FlushBuffers"):
            return
        if mode != 3:
            self.ready, self.idle = 0, self.idle + self.ready
        if mode == 4:
            self.queued, self.idle = 0, self.idle + self.queued
        if mode in (2, 3):
            self.queued, self.idle, self.current = self.queued + self.idle, 0, None

    def own_buffer(self):
        """One that a script makes comes and goes without touching those of the queue."""
        if not self.works():
            return
        buffer = self.stream.CreateBuffer(self.stream.GetBufferSize())
        expect(self.count("StreamAnnouncedBufferCount"), self.announced() + 1, "announced buffers")
        expect([self.stream.RevokeBuffer(buffer), self.stream.RevokeBuffer(buffer),
                self.stream.QueueBuffer(buffer)], [True, False, False], "a buffer, revoked twice")

    def cancel(self):
        if self.stream is not None:
            self.said(self.stream.CancelBuffer(), True, "CancelBuffer")

    def write_width(self):
        """What shapes frames is locked exactly while they are asked for; cameras of others may not."""
        if self.is_open and not self.is_lost and self.camera.GetParam("SimulatorNoise") is not None:
            known, width = self.camera.GetIntegerValue("Width")
            expect(known, True, "Width")
            expect(self.camera.SetIntegerValue("Width", width), not self.runs, "a write of Width")

    def lose(self):
        if not self.is_open or self.is_lost:
            return
        self.take_away(self.camera)
        await_that(lambda: not self.camera.GetIntegerValue("Width")[0]
                   and self.camera.GetLastError() == LOST, "the loss is noticed")
        await_that(lambda: not self.transport.GetIntegerValue("StreamLostFrameCount")[0],
                   "the loss is noticed everywhere")
        self.is_lost, self.runs = True, False

    def fork(self):
        """A child has no camera and its parent keeps it."""
        if not self.works():
            return
        child = os.fork()
        if child == 0:  # every way out of here is os._exit()
            try:
                refused = not (self.camera.GetIntegerValue("Width")[0] or self.stream.StartAcquisition()
                               or self.stream.StopAcquisition(0))
                os._exit(0 if refused and self.camera.GetLastError() == FORKED else 1)
            finally:
                os._exit(2)
        expect(os.waitpid(child, 0)[1], 0, "a child of a fork")

    def without_descriptors(self):
        if self.is_open:
            return
        limits = resource.getrlimit(resource.RLIMIT_NOFILE)
        resource.setrlimit(resource.RLIMIT_NOFILE, (3, limits[1]))
        try:
            device = self.zel.PyZelCreateDevice(self.info)
            code = OK if device.IsValid() else self.zel.GetLastError()
            device.Release()
        finally:
            resource.setrlimit(resource.RLIMIT_NOFILE, limits)
        expect(code in (OK, -1020), True, "open without descriptors: %d" % code)


CALLS = {"open": 3, "close": 1, "get_stream": 4, "release_stream": 1, "alloc": 4, "release_queue": 2,
         "start": 6, "stop": 4, "trigger": 14, "fetch": 14, "give_back": 8, "flush": 5, "own_buffer": 2,
         "cancel": 2, "write_width": 3, "lose": 0.3, "fork": 0.5, "without_descriptors": 1}
ARGUMENTS = {"alloc": (0, 1, 3, 4, 5), "stop": (0, 1), "flush": (0, 1, 2, 3, 4, 5)}


def random_calls(seed, count):
    dice = random.Random(seed)
    names = dice.choices(list(CALLS), weights=CALLS.values(), k=count)
    return [("open",), ("get_stream",), ("alloc", 4)] + [
        (name, dice.choice(ARGUMENTS[name])) if name in ARGUMENTS else (name,) for name in names]


def failure(make_road, calls):
    """What went wrong first, or None; the camera is given back."""
    road = make_road()
    try:
        for number, (name, *arguments) in enumerate(calls):
            try:
                getattr(road, name)(*arguments)
                road.check()
            except Wrong as wrong:
                return "call %d, %s%r: %s" % (number, name, tuple(arguments), wrong)
    finally:
        if road.device is not None:
            road.device.Release()
        if road.is_lost:
            road.bring_back(road.info)
    return None


def shrunk(make_road, calls, attempts=120):
    """A part of the calls that fails as well, and from which none can be left out."""
    size = len(calls) // 2
    while size > 0:
        start = 0
        while start < len(calls) and attempts > 0:
            attempts -= 1
            fewer = calls[:start] + calls[start + size:]
            if failure(make_road, fewer) is not None:
                calls = fewer
            else:
                start += size
        size //= 2
    return calls


def program(calls):
    return "\n".join("road.%s(%s)" % (name, ", ".join(map(repr, arguments)))
                     for name, *arguments in calls)
