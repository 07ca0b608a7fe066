"""Follow the ends of exposures."""
import zelcam

with zelcam.open() as camera:
    camera.start()
    for event in camera.events.stream("ExposureEnd", 5, timeout=5.0):
        print(event.name, camera.features["EventExposureEndTimestamp"])
