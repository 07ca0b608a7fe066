"""Go on when a camera was unplugged and is back."""
import time

import zelcam

serial = zelcam.cameras()[0].serial
fetched = 0
for attempt in range(2):
    with zelcam.open(serial=serial) as camera:
        try:
            for frame in camera.frames(50):
                fetched += 1
                if attempt == 0 and frame.id == 10 and "SimulatorUnplug" in camera.features:
                    camera.features["SimulatorUnplugReturnTime"] = 500
                    camera.features.SimulatorUnplug()
        except zelcam.CameraLost as lost:
            print(lost)
            time.sleep(2.0)
print("fetched %d frames" % fetched)
