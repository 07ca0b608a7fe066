"""What the camera says about each frame."""
import zelcam

with zelcam.open() as camera:
    camera.features["ChunkModeActive"] = True
    for name in ("ExposureTime", "Timestamp", "FrameID"):
        camera.features.update(ChunkSelector=name, ChunkEnable=True)
    for frame in camera.frames(5):
        print(frame.chunks)
