"""Grab frames and save the last one."""
import zelcam

with zelcam.open() as camera:
    for frame in camera.frames(10):
        print(frame)
    frame.save("last.png")
