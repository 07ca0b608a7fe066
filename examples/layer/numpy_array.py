"""Look at frames as NumPy arrays, in colour where the camera has any."""
import zelcam

with zelcam.open(model="ZG-2448C") as camera:
    frame = camera.grab()
    print(frame.array.shape, frame.array.dtype, frame.rgb().mean(axis=(0, 1)))
