"""Read what the camera says about each frame: exposure, gain, time, number (chunk data).

The values are features of the camera, named Chunk...; they belong to the frame that was fetched
last. Where the chunks lie in the buffer is known to the SDK only: a script reads the features.
"""
from __future__ import annotations

import sys
from typing import Union

import libZelCameraApiPy as zel
from cameras import camera_of, close_camera, open_camera, parser_of, stream_of

WANTED = ("FrameID", "Timestamp", "ExposureTime", "Gain")


def chunk_value(camera: zel.PyGenParams, name: str) -> Union[int, float, None]:
    """Value of a chunk feature of the frame fetched last, or None."""
    parameter = camera.GetParam("Chunk" + name)
    if parameter is None:
        return None
    if parameter.GetType() == camera.ParamFloat:
        return camera.GetFloatValue("Chunk" + name)[1]
    return camera.GetIntegerValue("Chunk" + name)[1]


def main() -> None:
    """Switches chunks on and changes the exposure while frames come."""
    parser = parser_of(__doc__)
    parser.add_argument("--frames", type=int, default=10)
    arguments = parser.parse_args()
    device = open_camera(arguments.serial)
    camera = camera_of(device)
    if not camera.SetBooleanValue("ChunkModeActive", True):
        sys.exit("this camera has no chunk data")
    for name in WANTED:
        if camera.SetEnumValueStr("ChunkSelector", name):
            camera.SetBooleanValue("ChunkEnable", True)
    stream = stream_of(device)
    # After the chunks were chosen: they make the buffers longer.
    stream.AllocBufferQueue(4)
    stream.StartAcquisition()
    told = 0
    for index in range(arguments.frames):
        camera.SetFloatValue("ExposureTime", 1000.0 + 500.0 * index)
        buffer = stream.GetBuffer(3000)
        if buffer is None:
            break
        values = {name: chunk_value(camera, name) for name in WANTED}
        told += values["FrameID"] == buffer.GetFrameID()
        print("frame %-4d" % buffer.GetFrameID(),
              " ".join("%s %s" % pair for pair in values.items() if pair[1] is not None))
        stream.QueueBuffer(buffer)
    stream.StopAcquisition(0)
    camera.SetBooleanValue("ChunkModeActive", False)
    close_camera(device, stream)
    sys.exit(0 if told == arguments.frames else "not every frame came with its chunks")


if __name__ == "__main__":
    main()
