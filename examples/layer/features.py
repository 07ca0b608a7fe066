"""Print every feature of a camera with its range, and change one."""
import zelcam

with zelcam.open() as camera:
    for name in camera.features:
        print(camera.features.feature(name))
    exposure = camera.features.ExposureTime
    exposure.value = (exposure.min or 0) * 10
    print(exposure, "from", exposure.min, "to", exposure.max)
