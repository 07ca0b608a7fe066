"""Record a movie."""
import zelcam

with zelcam.open() as camera, camera.record("movie.mkv") as movie:
    for frame in camera.frames(50):
        movie.add(frame)
print(movie.frames, "frames in", movie.path)
