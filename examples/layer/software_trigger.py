"""One frame for each trigger."""
import zelcam

with zelcam.open() as camera:
    camera.features.update(TriggerSelector="FrameStart", TriggerMode="On", TriggerSource="Software")
    camera.start()
    for _ in range(5):
        camera.trigger()
        print(camera.fetch())
