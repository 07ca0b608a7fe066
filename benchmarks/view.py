"""`zelcam view` at 1080p: frames that are shown, processor time, age of a frame at its reader."""
import http.client
import json
import os
import pathlib
import re
import shutil
import statistics
import subprocess
import sys
import tempfile
import time

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[1] / "tests" / "python" / "tools"))

from browser import Browser  # noqa: E402

BUILD = "build"
SECONDS = 6.0
# The camera's serial number, its pixel format.
CAMERAS = (("10000001", "Mono8"), ("10000002", "BayerRG8"), ("50000001", "RGB8"))
RATE = 30

# Notes when each picture is drawn: its age when it was sent, and the time since.
WATCH = """(() => { window.ages = []; const fetched = window.fetch, came = {};
  window.fetch = async (...all) => { const answer = await fetched(...all), told = answer.headers.get("X-Frame");
    if (told) came[JSON.parse(told).sequence] = performance.now();
    return answer; };
  const picture = pictures[0], draw = picture.draw.bind(picture);
  picture.draw = () => { draw(); const at = came[picture.frame.sequence]; delete came[picture.frame.sequence];
    if (at) ages.push(picture.frame.age_ms + performance.now() - at); }; })()"""


class Viewer:
    """A running `zelcam view` of one camera with frames of 1920 x 1080."""

    def __init__(self, serial, pixel_format):
        command = [os.path.join(BUILD, "bin", "zelcam"), "view", "--port", "0", "--json", "-c", serial]
        for setting in ("Width=1920", "Height=1080", "PixelFormat=" + pixel_format,
                        "AcquisitionFrameRateEnable=true", "AcquisitionFrameRate=%d" % RATE):
            command += ["--set", setting]
        self.process = subprocess.Popen(command, stdout=subprocess.PIPE,
                                        env=dict(os.environ, ZELCAM_VISION="off"))
        self.link = json.loads(self.process.stdout.readline())["link"]
        self.port = int(re.search(r":(\d+)/", self.link).group(1))

    def __enter__(self):
        return self

    def __exit__(self, *exception):
        self.process.terminate()
        self.process.communicate(timeout=30)

    def processor(self):
        """Seconds of processor time so far."""
        text = pathlib.Path("/proc/%d/stat" % self.process.pid).read_text()
        user, system = text.rpartition(")")[2].split()[11:13]
        return (int(user) + int(system)) / os.sysconf("SC_CLK_TCK")

    def share(self, work):
        """What `work` returns, and the part of one core that the program took meanwhile."""
        start, before = time.monotonic(), self.processor()
        result = work()
        return result, (self.processor() - before) / (time.monotonic() - start)


def plain_client(viewer):
    """Takes every frame it can for some seconds; returns frames per second and median age in ms."""
    connection = http.client.HTTPConnection("127.0.0.1", viewer.port, timeout=20)
    after, ages, start = 0, [], time.monotonic()
    while time.monotonic() - start < SECONDS:
        connection.request("GET", "/api/0/frame?quality=80&after=%d" % after)
        answer = connection.getresponse()
        came = time.monotonic()
        answer.read()
        if answer.status == 200:
            frame = json.loads(answer.headers["X-Frame"])
            after = frame["sequence"]
            ages.append(frame["age_ms"] + (time.monotonic() - came) * 1e3)
    rate = len(ages) / (time.monotonic() - start)
    connection.close()
    return rate, statistics.median(ages)


def in_browser(viewer, browser):
    """The same for the page in a browser, where a frame is there when it is drawn."""
    browser.call("Page.navigate", url=viewer.link)
    deadline = time.monotonic() + 60
    while not browser.run("typeof pictures !== 'undefined' && pictures.length && pictures[0].rate"):
        if time.monotonic() > deadline:
            sys.exit("the page shows no picture")
        time.sleep(0.2)
    browser.run(WATCH)

    def watch():
        time.sleep(SECONDS)
        ages = browser.run("ages")
        return len(ages) / SECONDS, statistics.median(ages)
    return viewer.share(watch)


def row(table, what, told, idle):
    """One line of the table; half a frame a second is lost to where the measurement begins."""
    (rate, age), share = told
    table.add("view 1080p %s" % what, "%.1f fps, %.0f %% of a core (%.0f ms a frame), %.0f ms old" % (
        rate, share * 100, (share - idle) / rate * 1e3 if rate else 0, age),
              "nobody looks: %.0f %%" % (idle * 100), "", "%d fps, under one core" % RATE,
              rate >= RATE - 0.5 and share < 1)


def run(table):
    """All rows of this file."""
    for serial, pixel_format in CAMERAS:
        with Viewer(serial, pixel_format) as viewer:
            time.sleep(3)  # what was copied for the first look has passed
            _, idle = viewer.share(lambda: time.sleep(2))
            row(table, pixel_format + ", plain client", viewer.share(lambda: plain_client(viewer)), idle)
            if shutil.which("chromium") is None:
                table.note("view in a browser", "chromium is not installed")
                continue
            with tempfile.TemporaryDirectory(ignore_cleanup_errors=True) as profile, \
                    Browser(profile) as browser:
                row(table, pixel_format + ", chromium", in_browser(viewer, browser), idle)
