"""Machine-vision cameras, the short way.

    import zelcam

    with zelcam.open() as camera:
        camera.features["ExposureTime"] = 5000
        for frame in camera.frames(10):
            print(frame.id, frame.array.mean())
        frame.save("last.png")

A layer over libZelCameraApiPy: `with` blocks, exceptions, arrays. What it does not wrap is reached
through camera.device, the module's own object.
"""
from .camera import Camera, CameraInfo, cameras, open
from .errors import (Aborted, CameraBusy, CameraLost, CameraNotFound, FeatureAccess, FeatureError,
                     FeatureRange, FeatureType, FrameTimeout, UnknownFeature, ZelError)
from .events import Event, Events
from .features import Feature, Features
from .frame import Frame
from .movie import Movie

__all__ = ["Aborted", "Camera", "CameraBusy", "CameraInfo", "CameraLost", "CameraNotFound", "Event",
           "Events", "Feature", "FeatureAccess", "FeatureError", "FeatureRange", "FeatureType",
           "Features", "Frame", "FrameTimeout", "Movie", "UnknownFeature", "ZelError", "cameras",
           "open"]
