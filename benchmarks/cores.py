"""Whether the cores may fall asleep while something is measured.

The host of a virtual machine gives back a core that slept when it likes, up to milliseconds later: that
is the host's speed, not ours and not a rival's."""
import contextlib
import struct

REQUEST = "/dev/cpu_dma_latency"
_kept = []


@contextlib.contextmanager
def awake():
    """The cores do not fall asleep, as far as this user may ask for it; yields whether they do not."""
    try:
        file = open(REQUEST, "wb", buffering=0)
    except OSError:
        yield False
        return
    with file:
        file.write(struct.pack("i", 0))
        _kept.append(file)
        try:
            yield True
        finally:
            _kept.remove(file)


@contextlib.contextmanager
def asleep():
    """Within awake(): the cores may sleep, as they do where nobody asked for anything."""
    latency = struct.pack("i", 2000000000)  # The kernel's word for "no request", in us.
    for file in _kept:
        file.write(latency)
    try:
        yield
    finally:
        for file in _kept:
            file.write(struct.pack("i", 0))
