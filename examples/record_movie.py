"""Record a movie with a progress bar and the achieved rate."""
from __future__ import annotations

import argparse
import sys
import time

import libZelCameraApiPy as zel
from cameras import camera_of, open_camera, parser_of, stream_of


def record(stream: zel.PyDataStream, arguments: argparse.Namespace) -> int:
    """Records for the asked time; returns the number of frames written."""
    buffer = stream.GetBuffer(3000)
    if buffer is None or not zel.PyStartMovieRecord(buffer, arguments.file, arguments.fps,
                                                    arguments.compressor):
        sys.exit("the movie cannot be started; compressors: %s" %
                 " ".join(zel.PyGetVideoCompressors() or []))
    stream.QueueBuffer(buffer)
    frames, start = 0, time.monotonic()
    while True:
        elapsed = time.monotonic() - start
        bar = "#" * int(40 * min(1.0, elapsed / arguments.seconds))
        sys.stderr.write("\r[%-40s] %4d frames %6.1f fps" % (bar, frames, frames / max(elapsed, .01)))
        if elapsed >= arguments.seconds:
            sys.stderr.write("\n")
            return frames
        buffer = stream.GetBuffer(3000)
        if buffer is None or not zel.PySaveMovieFrame(buffer):
            sys.stderr.write("\n")
            return frames
        frames += 1
        stream.QueueBuffer(buffer)


def main() -> None:
    """Records from the default camera."""
    parser = parser_of(__doc__)
    parser.add_argument("file", nargs="?", default="movie.avi")
    parser.add_argument("--seconds", type=float, default=10.0)
    parser.add_argument("--fps", type=float, default=25.0)
    parser.add_argument("--compressor", default="mjpeg")
    arguments = parser.parse_args()
    device = open_camera(arguments.serial)
    camera = camera_of(device)
    camera.SetBooleanValue("AcquisitionFrameRateEnable", True)
    camera.SetFloatValue("AcquisitionFrameRate", arguments.fps)
    stream = stream_of(device)
    stream.AllocBufferQueue(8)
    stream.StartAcquisition()
    start = time.monotonic()
    frames = record(stream, arguments)
    finished = zel.PyFinishRecord()
    print("%s: %d frames, %.1f fps" % (arguments.file, frames, frames / (time.monotonic() - start)))
    stream.StopAcquisition(0)
    stream.ReleaseBufferQueue()
    stream.Release()
    device.Release()
    sys.exit(0 if finished and frames else "the movie is not complete")


if __name__ == "__main__":
    main()
