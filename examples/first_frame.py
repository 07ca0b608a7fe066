"""Grab one frame from the first camera and save it as a picture."""
import sys

import libZelCameraApiPy as zel

device = zel.PyZelCreateDevice()
if not device.IsValid():
    sys.exit("no camera: %s" % zel.ErrorCodeToString(zel.GetLastError()))
print("camera:", device.GetDisplayName())

stream = device.GetStreamByIndex(0)
if stream is None or not stream.AllocBufferQueue(4) or not stream.StartAcquisition():
    sys.exit("this camera does not stream")
buffer = stream.GetBuffer(2000)
if buffer is None:
    sys.exit("no frame within two seconds: code %d" % stream.GetLastError())
print("frame %d: %d x %d" % (buffer.GetFrameID(), buffer.GetWidth(), buffer.GetHeight()))
saved = zel.PySaveImage(buffer, sys.argv[1] if len(sys.argv) > 1 else "first_frame.png")

stream.StopAcquisition(0)
stream.ReleaseBufferQueue()
stream.Release()
device.Release()
sys.exit(0 if saved else "the picture could not be saved")
