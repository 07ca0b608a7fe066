"""Grab from several cameras at once, each in a thread of its own.

GetBuffer waits without the interpreter lock, so the threads do not hold each other up.
"""
from __future__ import annotations

import sys
import threading
import time

import libZelCameraApiPy as zel
from cameras import close_camera, every_camera, parser_of, stream_of


class Grabber(threading.Thread):
    """Grabs from one camera until it is told to stop."""

    def __init__(self, info: zel.PyDeviceInfo, seconds: float) -> None:
        super().__init__()
        self.name = info.GetDisplayName()
        self.device = zel.PyZelCreateDevice(info)
        self.seconds, self.frames, self.bytes, self.bad = seconds, 0, 0, 0
        self.good = False

    def run(self) -> None:
        stream = stream_of(self.device)
        stream.AllocBufferQueue(8)
        stream.StartAcquisition()
        end = time.monotonic() + self.seconds
        while time.monotonic() < end:
            buffer = stream.GetBuffer(1000)
            if buffer is None:
                break
            self.frames += 1
            self.bytes += len(buffer.GetBufferPtr())
            self.bad += buffer.IsIncomplete()
            stream.QueueBuffer(buffer)
        self.good = self.frames > 0
        close_camera(self.device, stream)


def main() -> None:
    """Opens as many cameras as asked for and grabs from all of them."""
    parser = parser_of(__doc__)
    parser.add_argument("--cameras", type=int, default=2, help="how many (default: 2)")
    parser.add_argument("--seconds", type=float, default=2.0)
    arguments = parser.parse_args()
    infos = [info for info in every_camera()
             if arguments.serial in (None, info.GetSerialNumber())][:arguments.cameras]
    grabbers = [Grabber(info, arguments.seconds) for info in infos]
    ready = [grabber for grabber in grabbers if grabber.device.IsValid()]
    for grabber in ready:
        grabber.start()
    for grabber in ready:
        grabber.join()
        print("%-36s %4d frames, %6.1f fps, %6.1f MB/s, %d incomplete" % (
            grabber.name, grabber.frames, grabber.frames / arguments.seconds,
            grabber.bytes / arguments.seconds / 1e6, grabber.bad))
    sys.exit(0 if ready and all(grabber.good for grabber in ready) else "not every camera gave frames")


if __name__ == "__main__":
    main()
