"""The live picture in a window of OpenCV; any key ends it."""
import cv2

import zelcam

with zelcam.open() as camera:
    for frame in camera.frames(newest=True):
        cv2.imshow(str(camera), frame.rgb()[:, :, ::-1])
        if cv2.waitKey(1) >= 0:
            break
