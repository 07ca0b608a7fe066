"""Movies: recorded by our serializer and by the ffmpeg command line fed through a pipe.

Both take the same raw frames, in turn, start-up included, at the same quantizer and encoder
settings. Run alone: /usr/bin/python3 rows_movies.py --build <build directory>.
"""
import argparse
import os
import shutil
import statistics
import subprocess
import sys
import tempfile
import time

HERE = os.path.dirname(os.path.abspath(__file__))
sys.path.insert(0, HERE)
sys.path.insert(0, os.path.join(HERE, ".."))
sys.path.insert(0, os.path.join(HERE, "..", "..", "tests", "python", "strangers"))

from table import Table  # noqa: E402

FRAMES = 60
ROUNDS = 3
QUANTIZER = 15
NO_LARGER = {"h264", "h265", "ffv1"}  # Their files must not be larger than the command line's.
CLOCK = time.perf_counter


def processor_time():
    """Seconds that this process and those it has waited for took from all cores."""
    return sum(os.times()[:4])

# compressor: (container, gray, arguments of the command line, target ratio)
ROWS = {
    "uncompressed": ("avi", False, ["-c:v", "rawvideo"], None),
    "mjpeg": ("avi", False, ["-c:v", "mjpeg", "-pix_fmt", "yuvj420p", "-q:v", "15"], 2.0),
    "mpeg4": ("avi", False, ["-c:v", "mpeg4", "-pix_fmt", "yuv420p", "-q:v", "15"], 1.4),
    "h264": ("mp4", False, ["-c:v", "libx264", "-preset", "ultrafast", "-pix_fmt", "yuv420p",
                            "-qp", "34"], 1.3),
    "h265": ("mkv", False, ["-c:v", "libx265", "-preset", "ultrafast", "-pix_fmt", "yuv420p",
                            "-x265-params", "qp=34:log-level=none"], 1.3),
    "huffyuv": ("avi", False, ["-c:v", "huffyuv", "-pix_fmt", "rgb24"], 1.2),
    "ffv1": ("mkv", False, ["-c:v", "ffv1", "-level", "3", "-pix_fmt", "bgr0"], 1.3),
    "png": ("avi", False, ["-c:v", "png", "-pix_fmt", "rgb24"], 1.2),
    "vp9": ("webm", False, ["-c:v", "libvpx-vp9", "-deadline", "realtime", "-cpu-used", "8",
                            "-row-mt", "1", "-crf", "41", "-b:v", "0", "-pix_fmt", "yuv420p"],
            None),
    "mjpeg gray": ("avi", True, ["-c:v", "mjpeg", "-pix_fmt", "yuvj420p", "-q:v", "15"], 1.0),
    "mpeg4 gray": ("avi", True, ["-c:v", "mpeg4", "-pix_fmt", "yuv420p", "-q:v", "15"], 1.0),
    "h264 gray": ("mp4", True, ["-c:v", "libx264", "-preset", "ultrafast", "-pix_fmt", "gray",
                                "-qp", "34"], 1.0),
    "ffv1 gray": ("mkv", True, ["-c:v", "ffv1", "-level", "3", "-pix_fmt", "gray"], 1.0),
}


def record(serializer, frames, pixel_type, compressor, path):
    """Records all frames with our library; a failure is a failure of the benchmark."""
    codes = [serializer.set_string("movie.compressor", compressor)]
    codes.append(serializer.start(frames[0], pixel_type, path, 30.0))
    codes += [serializer.append(frame, pixel_type) for frame in frames]
    codes.append(serializer.finish())
    if any(codes):
        raise RuntimeError("%s: %s" % (path, codes))


def pipe(frames, pixel_format, arguments, path):
    """Feeds all frames to the command line."""
    height, width = frames[0].shape[:2]
    command = ["ffmpeg", "-y", "-v", "error", "-f", "rawvideo", "-pix_fmt", pixel_format,
               "-s", "%dx%d" % (width, height), "-r", "30", "-i", "-"] + arguments + [path]
    with subprocess.Popen(command, stdin=subprocess.PIPE) as process:
        for frame in frames:
            process.stdin.write(frame.data)
        process.stdin.close()
        if process.wait() != 0:
            raise RuntimeError("ffmpeg: " + " ".join(command))


def count_frames(path):
    """Frames that a stranger finds in a movie."""
    command = ["ffprobe", "-v", "error", "-count_frames", "-show_entries", "stream=nb_read_frames",
               "-of", "csv=p=0", path]
    return int(subprocess.run(command, capture_output=True, check=True).stdout.strip(b",\n"))


def compare(table, serializer, name, scene, directory):
    """One row: frames per second of both, medians of runs in turn."""
    from serializer_library import BGR8, MONO8

    container, gray, arguments, target = ROWS[name]
    compressor = name.split()[0]
    frames = scene["gray" if gray else "colour"]
    ours, rival = (os.path.join(directory, who + "." + container) for who in ("ours", "rival"))
    times = [[], []]
    for _ in range(ROUNDS):
        for index, run_one in enumerate((
                lambda: record(serializer, frames, MONO8 if gray else BGR8, compressor, ours),
                lambda: pipe(frames, "gray" if gray else "bgr24", arguments, rival))):
            start = CLOCK()
            run_one()
            times[index].append(CLOCK() - start)
        if count_frames(ours) != len(frames):
            raise RuntimeError("frames are missing in " + ours)
    size = os.path.getsize(ours) / os.path.getsize(rival)
    os.unlink(ours)
    os.unlink(rival)
    own, other = (statistics.median(values) for values in times)
    met = None if target is None else other / own >= target
    if name in NO_LARGER:
        met = met and size <= 1.0005  # The container's own words.
    table.add("%s in .%s beside ffmpeg (file %.0f %%)" % (name, container, 100 * size),
              "%.0f fps" % (len(frames) / own), "%.0f fps" % (len(frames) / other),
              "%.2fx" % (other / own),
              "" if target is None else
              ">= %.2fx%s" % (target, ", no larger" if name in NO_LARGER else ""), met)


def run(table, build, names=tuple(ROWS)):
    """Adds the rows of movies."""
    try:
        import numpy
    except ImportError as error:
        table.note("movies", "not measured: %s" % error)
        return
    if shutil.which("ffmpeg") is None or shutil.which("ffprobe") is None:
        table.note("movies", "not measured: no ffmpeg command line")
        return
    from rows_files import photograph
    from serializer_library import Serializer

    colour = numpy.ascontiguousarray(photograph(numpy))
    # A pan: every frame differs, and the scene holds together as a camera's does.
    moving = [numpy.ascontiguousarray(numpy.roll(colour, 2 * i, axis=1)) for i in range(20)]
    colours = [moving[i % 20] for i in range(FRAMES)]
    grays = [numpy.ascontiguousarray(frame[..., 1]) for frame in moving]
    scene = {"colour": colours, "gray": [grays[i % 20] for i in range(FRAMES)]}
    serializer = Serializer(os.path.join(build, "python"))
    serializer.set_integer("min.quantizer", QUANTIZER)
    serializer.set_integer("max.quantizer", QUANTIZER)
    offered = serializer.get_string("movie.compressors")[1].split("|")
    with tempfile.TemporaryDirectory() as directory:
        for name in names:
            if name.split()[0] in offered:
                compare(table, serializer, name, scene, directory)
            else:
                table.note(name, "not measured: this libav has no such encoder")
    serializer.close()


if __name__ == "__main__":
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("--build", required=True, help="build directory")
    parser.add_argument("names", nargs="*", help="any of: " + ", ".join(ROWS))
    parser.add_argument("--cpu", action="store_true",
                        help="compare processor time: for a machine that has other work")
    chosen = parser.parse_args()
    if chosen.cpu:
        CLOCK = processor_time
    result = Table()
    run(result, chosen.build, chosen.names or tuple(ROWS))
    print("\n" + result.markdown())
