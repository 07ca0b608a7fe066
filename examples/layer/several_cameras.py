"""Grab from all cameras at once, a thread each."""
from concurrent.futures import ThreadPoolExecutor

import zelcam


def grab(info: zelcam.CameraInfo) -> str:
    with zelcam.open(info=info) as camera:
        return "%s: %d frames" % (camera, len(list(camera.frames(5, timeout=20.0))))


found = zelcam.cameras()
with ThreadPoolExecutor(len(found)) as pool:
    print(*pool.map(grab, found), sep="\n")
