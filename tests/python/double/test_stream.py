"""Data streams and buffers."""

import pytest

ALL_BITS = 2 ** 64 - 1


@pytest.mark.parametrize("name, value", [("Flush_OutputDiscard", 1), ("Flush_AllToInput", 2),
                                         ("Flush_UnqueuedToInput", 3), ("Flush_AllDiscard", 4)])
def test_flush_modes(double, stream, name, value):
    assert getattr(stream, name) == value
    assert stream.FlushBuffers(getattr(stream, name)) is True
    assert double.take_args("Stream.FlushBuffers") == [value]
    with pytest.raises(AttributeError):
        getattr(stream, name.upper())


@pytest.mark.parametrize("method, before_any, cached", [
    ("GetBufferSize", 325546, True), ("GetMinNumBuffers", 3, True), ("GetBufferAlignment", 0, False),
    ("GetBufferQueueSize", 0, False)])
def test_numbers_of_a_stream(double, device, stream, method, before_any, cached):
    fresh = device.GetStreamByIndex(0)
    fresh.Release()
    assert getattr(fresh, method)() == before_any
    for value in (0, 5038848, 2 ** 40):
        double.answer("Stream." + method, value)
        assert getattr(stream, method)() == value
    stream.Release()
    double.take()
    assert getattr(stream, method)() == (2 ** 40 if cached else 0) and double.take() == []


# method, arguments, SDK arguments
BOOLEANS = [("StartAcquisition", (), [ALL_BITS, 0]), ("StopAcquisition", (0,), [0]),
            ("StopAcquisition", (-5, "ignored"), [-5]), ("FlushBuffers", (99,), [99]),
            ("AllocBufferQueue", (4,), [None, 4]), ("AllocBufferQueue", (-1,), [None, ALL_BITS]),
            ("ReleaseBufferQueue", (), []), ("CancelBuffer", (), [])]


@pytest.mark.parametrize("method, arguments, passed", BOOLEANS)
def test_boolean_operations(double, stream, method, arguments, passed):
    call = getattr(stream, method)
    assert call(*arguments) is True
    assert double.take_args("Stream." + method) == passed
    for code in (-1006, 1):
        double.answer("Stream." + method, code)
        assert call(*arguments) is False
    assert stream.GetLastError() == 0
    stream.Release()
    double.take()
    assert call(*arguments) is False
    assert double.take() == [] and stream.GetLastError() == 0


def test_arguments_are_looked_at_before_a_missing_stream(double, released, messages):
    assert released.StopAcquisition() is False
    assert messages() == b"Not enough actual args\n" and released.GetLastError() == -40121
    with pytest.raises(ValueError):
        released.AllocBufferQueue("x")


def test_release_is_once(double, stream):
    assert stream.Release() is None and stream.Release() is None
    assert [call.name for call in double.take()] == ["Stream.Release"]


def test_dropping_wrappers_releases_nothing(double, device, messages):
    stream = device.GetStreamByIndex(0)
    stream.AllocBufferQueue(1)
    buffers = stream.GetBuffer(0), stream.CreateBuffer(9)
    double.take()
    del stream, buffers
    assert double.take() == []


def test_created_buffer(double, stream):
    buffer = stream.CreateBuffer(1000, "ignored")
    assert [call.name for call in double.take()] == ["Stream.CreateBuffer", "Buffer.GetWidth",
                                                     "Buffer.GetHeight"]
    assert (buffer.GetWidth(), buffer.GetHeight(), buffer.GetBufferPtr()) == (4, 3, ())
    assert stream.CreateBuffer(1000) is not buffer
    for size in (0, -1, 2 ** 63 - 1):
        double.take()
        stream.CreateBuffer(size)
        assert double.take_args("Stream.CreateBuffer") == [size, None, "err"]


def test_refused_buffer_is_empty(double, stream, messages):
    double.answer("Stream.CreateBuffer", None, err=-1021)
    buffer = stream.CreateBuffer(1000)
    assert messages() == (b"wrong buffer. Error: -1021 GenTL: The system and/or other hardware in "
                          b"the system (frame grabber) ran out of memory.\n")
    assert stream.GetLastError() == 0
    assert stream.QueueBuffer(buffer) is False
    double.take()
    assert stream.RevokeBuffer(buffer) is True  # unlike the queue, handed on as no buffer
    assert double.take_args("Stream.RevokeBuffer") == [None]
    assert_empty(double, buffer, messages)


def assert_empty(double, buffer, messages):
    double.take()
    assert (buffer.GetWidth(), buffer.GetHeight(), buffer.GetBufferPtr()) == (0, 0, ())
    assert buffer.IsIncomplete() is True
    for method in ("GetPixelFormat", "GetFrameID", "GetXOffset", "GetYOffset", "GetXPadding",
                   "GetYPadding", "GetTimestamp"):
        assert getattr(buffer, method)() == 0
    assert buffer.GetImage() is None and messages() == b"wrong buffer\n"
    assert double.take() == []


def test_released_stream_creates_nothing(double, released, messages):
    assert released.CreateBuffer(10) is None
    assert messages() == b"wrong dataStream\n" and double.take() == []


@pytest.mark.parametrize("method", ["QueueBuffer", "RevokeBuffer"])
def test_handing_buffers_back(double, thing, stream, messages, method):
    call, buffer = getattr(stream, method), stream.CreateBuffer(1)
    double.take()
    assert call(buffer, "ignored") is True
    assert double.take_args("Stream." + method) == ["Buffer:created"]
    for wrong in (42, None, stream, "Buffer:created", thing("params"), type(buffer)):
        double.take()
        assert call(wrong) is False
        assert double.take() == []
    double.answer("Stream." + method, -1006)
    assert call(buffer) is False and stream.GetLastError() == 0
    if method == "RevokeBuffer":
        stream.Release()
        assert call(buffer) is False
        assert double.take("Stream." + method)[1:] == []


def test_any_buffer_can_be_queued_on_any_stream(double, device, fetched):
    double.answer("Device.GetStreamByIndex", "Stream:other")
    assert device.GetStreamByIndex(1).QueueBuffer(fetched) is True
    (call,) = double.take("Stream.QueueBuffer")
    assert call.on == "Stream:other" and call.args == ["Buffer:frame"]


def test_fetch_needs_a_queue(double, stream, messages):
    assert stream.GetBuffer() is None and stream.GetBuffer(5) is None
    double.answer("Stream.AllocBufferQueue", -1020)
    assert stream.AllocBufferQueue(3) is False
    double.take()
    assert stream.GetBuffer() is None
    assert double.take() == [] and stream.GetLastError() == 0


@pytest.mark.parametrize("arguments, passed", [
    ((), ALL_BITS), ((-1,), ALL_BITS), ((0,), 0), ((1000, "ignored"), 1000), ((2 ** 63 - 1,),
                                                                             2 ** 63 - 1)])
def test_time_outs(double, stream, arguments, passed):
    stream.AllocBufferQueue(1)
    assert stream.GetBuffer(*arguments) is not None
    assert double.take_args("Stream.GetBuffer") == [passed, "err"]


def test_fetch(double, stream, messages):
    stream.AllocBufferQueue(2)
    double.answer("Buffer.GetImageOffset", 3)
    double.take()
    buffer = stream.GetBuffer(10)
    calls = [call.name for call in double.take()]
    assert calls[0] == "Stream.GetBuffer" and "Stream.QueueBuffer" not in calls
    assert sorted(calls[1:]) == ["Buffer.GetBufferPtr", "Buffer.GetBufferSize", "Buffer.GetHeight",
                                 "Buffer.GetImageOffset", "Buffer.GetWidth"]
    first = buffer.GetBufferPtr()
    assert type(first) is bytearray and first == bytes(range(67, 79))
    assert (buffer.GetWidth(), buffer.GetHeight(), stream.GetLastError()) == (4, 3, 0)
    assert buffer.GetBufferPtr() is first
    first[0] = 1  # a copy of Python's own
    double.answer("Stream.GetBuffer", "Buffer:next")
    double.answer("Buffer:next.GetWidth", 20)
    assert stream.GetBuffer() is buffer
    assert buffer.GetBufferPtr() is not first and buffer.GetBufferPtr()[0] == 67 and first[0] == 1
    assert buffer.GetWidth() == 20
    double.take()
    assert stream.QueueBuffer(buffer) is True
    assert double.take_args("Stream.QueueBuffer") == ["Buffer:next"]


def test_new_queue_brings_a_new_buffer(double, stream, messages):
    stream.AllocBufferQueue(1)
    first = stream.GetBuffer(0)
    frame = first.GetBufferPtr()
    double.answer("Stream.AllocBufferQueue", -1022)
    assert stream.AllocBufferQueue(1) is False
    assert stream.GetBuffer(0) is first
    double.answer("Stream.AllocBufferQueue", 0)
    stream.AllocBufferQueue(1)
    second = stream.GetBuffer(0)
    assert second is not first and first.GetBufferPtr() == frame


@pytest.mark.parametrize("error, message", [
    (-1011, b"Get buffer error: timeout\n"),
    (-1006, b"wrong buffer. Error: -1006 GenTL: Given handle does not support the operation; e.g., "
     b"function call on wrong handle or NULL pointer.\n"),
    (-40051, b"wrong buffer. Error: -40051 Invalid state\n")])
def test_failed_fetch_keeps_the_last_frame(double, stream, messages, error, message):
    stream.AllocBufferQueue(1)
    buffer = stream.GetBuffer(0)
    frame = buffer.GetBufferPtr()
    double.answer("Buffer.GetPixelFormat", 0x01080001)
    assert buffer.GetPixelFormat() == 0x01080001
    double.answer("Stream.GetBuffer", None, err=error)
    assert stream.GetBuffer(1000) is None
    assert messages() == message and stream.GetLastError() == error
    assert buffer.GetBufferPtr() is frame and buffer.GetWidth() == 4 and buffer.GetHeight() == 3
    assert buffer.GetPixelFormat() == 0 and buffer.IsIncomplete() is True
    assert stream.QueueBuffer(buffer) is False
    double.answer("Stream.GetBuffer", "Buffer:frame")
    assert stream.GetBuffer(0) is buffer and stream.GetLastError() == 0


def test_failure_without_a_code(double, stream, messages):
    """Nothing came and nothing is wrong: the buffer comes back, and stands for none."""
    stream.AllocBufferQueue(1)
    double.answer("Stream.GetBuffer", None, err=0)
    buffer = stream.GetBuffer(0)
    assert messages() == b"wrong buffer. Error: 0 OK\n" and stream.GetLastError() == 0
    assert_empty(double, buffer, messages)


def test_a_frame_with_a_code_is_a_frame(double, stream):
    stream.AllocBufferQueue(1)
    double.answer("Stream.GetBuffer", "Buffer:frame", err=-1014)
    assert stream.GetBuffer(0) is not None and stream.GetLastError() == 0


@pytest.mark.parametrize("width, height, size, good", [
    (1, 1, 1, True), (20480, 20480, 32, True), (20481, 1, 32, False), (1, 20481, 32, False),
    (0, 3, 32, False), (4, 0, 32, False), (4, 3, 0, False), (2 ** 32 + 4, 3, 12, False),
    (2 ** 63, 2 ** 63, 12, False), (ALL_BITS, 3, 12, False)])
def test_bounds_of_a_frame(double, stream, messages, width, height, size, good):
    stream.AllocBufferQueue(1)
    buffer = stream.GetBuffer(0)
    frame = buffer.GetBufferPtr()
    double.take()
    for operation, value in (("GetWidth", width), ("GetHeight", height), ("GetBufferSize", size)):
        double.answer("Buffer." + operation, value)
    result = stream.GetBuffer(0)
    queued = [call.args for call in double.take("Stream.QueueBuffer")]
    assert result is (buffer if good else None)
    assert queued == ([] if good else [["Buffer:frame"]])
    assert stream.GetLastError() == (0 if good else -40001)
    assert (buffer.GetBufferPtr() is frame) != good
    if good:
        assert len(buffer.GetBufferPtr()) == size
    assert buffer.GetWidth() % 2 ** 64 == width and buffer.GetHeight() % 2 ** 64 == height


def test_frame_without_memory(double, stream):
    stream.AllocBufferQueue(1)
    double.answer("Buffer.GetBufferPtr", None)
    assert stream.GetBuffer(0) is None and stream.GetLastError() == -40001
    assert double.take_args("Stream.QueueBuffer") == ["Buffer:frame"]


def test_frame_that_does_not_fit_into_memory(double, stream, messages):
    """Python cannot make the bytearray: its exception comes out and the stream stays usable."""
    stream.AllocBufferQueue(1)
    double.answer("Buffer.GetBufferSize", 2 ** 62)
    with pytest.raises(MemoryError):
        stream.GetBuffer(0)
    double.answer("Buffer.GetBufferSize", 12)
    assert stream.GetBuffer(0) is not None
    messages()


def test_fetch_after_release(double, stream, messages):
    """The current buffer remembers the stream's operations, not the wrapper's release."""
    stream.AllocBufferQueue(1)
    buffer = stream.GetBuffer(0)
    stream.Release()
    double.take()
    answer = stream.GetBuffer(0)
    assert answer in (None, buffer)
    messages()


@pytest.mark.parametrize("method, value", [
    ("GetPixelFormat", 0xFFFFFFFF), ("GetFrameID", ALL_BITS), ("GetTimestamp", 2 ** 63 + 1),
    ("GetXOffset", -1), ("GetYOffset", 2 ** 63 - 1), ("GetXPadding", -2 ** 63), ("GetYPadding", -7),
    ("IsIncomplete", True), ("IsIncomplete", False)])
def test_metadata_is_asked_every_time(double, fetched, method, value):
    for answer in (value, False if method == "IsIncomplete" else 1):
        double.answer("Buffer." + method, answer)
        result = getattr(fetched, method)()
        assert result == answer and type(result) is type(answer)
    assert [call.on for call in double.take()] == ["Buffer:frame"] * 2


def test_image_handle(double, fetched, messages):
    first, second = fetched.GetImage(), fetched.GetImage()
    assert first is not second and type(first) is type(second)
    with pytest.raises(AttributeError):
        first.GetWidth
    with pytest.raises(TypeError):
        type(first)()
    repr(first), str(first), hash(first)
