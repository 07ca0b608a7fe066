"""Slow work on a fast camera: each frame is the newest one."""
import time

import zelcam

with zelcam.open() as camera:
    for frame in camera.frames(5, newest=True):
        time.sleep(0.2)
        print(frame.id)
