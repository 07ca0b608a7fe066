"""Keep the settings of a camera in a file, and open the camera from it."""
import zelcam

with zelcam.open() as camera:
    camera.save_settings("camera.txt")
with zelcam.open(config="camera.txt") as camera:
    print(camera, camera.features["ExposureTime"])
