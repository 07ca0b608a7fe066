"""Grab frames and keep the last one as a picture."""
import zelcam

with zelcam.open() as camera:
    for frame in camera.frames(10):
        print(frame)
        frame.save("last.png")
