"""`zelcam view`: the page's requests, hostile ones, and the page in a browser."""

import http.client
import json
import pathlib
import random
import re
import shutil
import socket
import struct
import time

import pytest

from browser import Browser
from conftest import interrupt, wait_for

HEADER = {"X-Zelcam": "1"}


class View:
    """A running viewer."""

    def __init__(self, process):
        self.process = process
        self.link = json.loads(process.stdout.readline())["link"]
        self.host, port = re.search(r"//([^:/]+):(\d+)", self.link).groups()
        self.port = int(port)
        self.token = self.link.partition("?")[2]

    def ask(self, path, body=None, headers=HEADER, method=None):
        connection = http.client.HTTPConnection(self.host, self.port, timeout=20)
        path += ("&" if "?" in path else "?") + self.token if self.token else ""
        text = body if body is None or isinstance(body, (str, bytes)) else json.dumps(body)
        connection.request(method or ("GET" if body is None else "POST"), path, text, headers)
        answer = connection.getresponse()
        data = answer.read()
        connection.close()
        return answer.status, answer.headers, data

    def json(self, path, body=None, status=200):
        got, _, data = self.ask(path, body)
        assert got == status, data
        return json.loads(data)

    def memory(self):
        """Resident KiB."""
        text = pathlib.Path("/proc/%d/status" % self.process.pid).read_text()
        return int(re.search(r"VmRSS:\s+(\d+)", text).group(1))


@pytest.fixture
def view(started):
    def start(*arguments, **environment):
        return View(started("view", "--port", "0", "--json", *arguments, **environment))

    return start


def test_pictures_are_new_and_what_was_asked_for(view):
    page = view("-c", "10000002", "--set", "Width=640", "--set", "Height=480")
    after, seen = 0, []
    for _ in range(5):
        status, headers, data = page.ask("/api/0/frame?after=%d" % after)
        frame = json.loads(headers["X-Frame"])
        assert status == 200 and data[:3] == b"\xff\xd8\xff" and frame["sequence"] > after
        after = frame["sequence"]
        seen.append(frame["id"])
    assert seen == sorted(set(seen))
    _, headers, data = page.ask("/api/0/frame?format=png&shrink=2")
    assert struct.unpack(">II", data[16:24]) == (320, 240)
    small = len(page.ask("/api/0/frame?quality=10")[2])
    assert small < len(page.ask("/api/0/frame?quality=95")[2])
    assert len(page.json("/api/0/pixel?x=5&y=7")["values"]) == 3
    code, out, _ = interrupt(page.process)
    assert code == 0 and json.loads(out.splitlines()[-1])["cameras"][0]["frames"] >= 5


def test_features_snapshots_movies_and_settings(view, tmp_path):
    page = view("-c", "10000001", "--set", "Width=320", "--set", "Height=240")
    names = {f["name"]: f for f in page.json("/api/0/features")["features"]}
    assert names["ExposureTime"]["unit"] == "us"
    assert page.json("/api/0/feature", {"name": "ExposureTime", "value": "2345"})["value"] == 2345
    # Locked while frames come: the acquisition is stopped for a moment.
    assert page.json("/api/0/feature", {"name": "Width", "value": "640"})["value"] == 640
    assert wait_for(lambda: json.loads(page.ask("/api/0/frame")[1].get("X-Frame", "{}")).get("width") == 640)
    assert "range" in page.json("/api/0/feature", {"name": "Width", "value": "7"}, 409)["error"]
    assert page.json("/api/0/command", {"name": "TimestampLatch"})["done"] == "TimestampLatch"
    saved = tmp_path / page.json("/api/0/snapshot", {})["file"]
    assert saved.read_bytes()[:4] == b"\x89PNG"
    movie = tmp_path / page.json("/api/0/record", {"running": True})["file"]
    assert wait_for(lambda: page.json("/api/0/state")["record_frames"] > 5)
    page.json("/api/0/record", {"running": False})
    assert movie.stat().st_size > 1000 and movie.suffix == ".mkv"
    settings = page.ask("/api/0/settings")[2]
    page.json("/api/0/feature", {"name": "ExposureTime", "value": "777"})
    page.json("/api/0/settings", settings.decode())
    assert page.json("/api/0/feature?name=ExposureTime")["value"] == 2345
    page.json("/api/0/settings", "no settings", 409)
    assert page.json("/api/0/acquisition", {"running": False})["running"] is False
    page.json("/api/0/acquisition", {"running": True})
    assert page.ask("/api/0/frame")[0] == 200


def test_an_unplugged_camera_comes_back(view):
    page = view("-c", "10000001")
    assert page.ask("/api/0/frame")[0] == 200
    page.json("/api/0/feature", {"name": "SimulatorUnplugReturnTime", "value": "1000"})
    page.ask("/api/0/command", {"name": "SimulatorUnplug"})
    assert wait_for(lambda: page.json("/api/0/state")["message"])
    assert wait_for(lambda: page.json("/api/0/state")["connected"] and not page.json("/api/0/state")["message"])
    last = json.loads(page.ask("/api/0/frame")[1]["X-Frame"])["sequence"]
    assert wait_for(lambda: page.ask("/api/0/frame?after=%d" % last)[0] == 200)


def test_who_may_ask(view):
    page = view("-c", "10000001")
    assert page.ask("/api/cameras", headers={"Host": "evil.example:%d" % page.port})[0] == 403
    assert page.ask("/api/0/snapshot", "{}", headers={})[0] == 403
    assert page.ask("/api/cameras", headers={"Host": "localhost:%d" % page.port})[0] == 200
    for path, status in (("/api/7/state", 404), ("/api/0/nothing", 404), ("/nothing", 404),
                         ("/../../etc/passwd", 404), ("/api/0/frame?quality=0", 400),
                         ("/api/0/frame?after=-1", 400), ("/api/0/pixel?x=99999999999", 400),
                         ("/api/99999999999/state", 404)):
        assert page.ask(path)[0] == status, path
    for body in ("", "[]", "{", "null", '{"name": 1}', "[" * 5000, "x" * 70000):
        assert page.ask("/api/0/feature", body)[0] == 400, body[:9]
    interrupt(page.process)
    page = view("-c", "10000001", "--address", "0.0.0.0")
    page.host = "127.0.0.1"
    assert page.token and page.ask("/api/cameras")[0] == 200
    page.token = page.token[:-1] + ("0" if page.token[-1] != "0" else "1")
    assert page.ask("/api/cameras")[0] == page.ask("/api/0/frame")[0] == 403


def test_hostile_clients_hold_nobody_up(view):
    """Fuzzed requests, a hundred connections, readers that stop: others get their frames."""
    page = view("-c", "10000002")
    page.ask("/api/0/frame")
    random.seed(5)
    good = b"GET /api/0/frame?after=0 HTTP/1.1\r\nHost: 127.0.0.1:%d\r\n\r\n" % page.port

    def connect(data):
        client = socket.create_connection((page.host, page.port), timeout=10)
        client.sendall(data)
        return client

    def fuzz():
        request = bytearray(good)
        for _ in range(random.randrange(1, 12)):
            request[random.randrange(len(request))] = random.randrange(256)
        try:
            connect(bytes(request)).close()
        except OSError:
            pass

    for _ in range(200):
        fuzz()
    before = page.memory()
    # They ask for large pictures and read nothing, or never end their request.
    slow = [connect(good * 4 if i % 2 else good[:-2]) for i in range(100)]
    ids = []
    end = time.monotonic() + 4
    while time.monotonic() < end:
        ids.append(json.loads(page.ask("/api/0/frame")[1]["X-Frame"])["id"])
    assert len(set(ids)) > 8
    for client in slow:
        client.close()
    for _ in range(300):
        fuzz()
    assert page.ask("/api/0/frame")[0] == 200 and page.json("/api/0/state")["connected"]
    assert page.memory() < before + 200 * 1024
    assert interrupt(page.process)[0] == 0


# --- in a browser -----------------------------------------------------------------------------


@pytest.fixture
def browser(tmp_path):
    if shutil.which("chromium") is None:
        pytest.skip("no chromium on this machine")
    with Browser(tmp_path / "profile") as started:
        yield started


PIXELS = """(() => { const c = document.querySelector("figure canvas");
  return [...c.getContext("2d").getImageData(c.width / 2 - 20, c.height / 2 - 20, 40, 40).data].join(); })()"""


@pytest.fixture
def shown(view, browser):
    """Two cameras on a page in the browser: the viewer, and a wait for an expression on the page."""
    page = view("-c", "10000002", "-c", "10000001", "--set", "Width=640", "--set", "Height=480")
    browser.call("Page.navigate", url=page.link)
    browser.call("Emulation.setFocusEmulationEnabled", enabled=True)

    def on_page(script, seconds=60):
        assert wait_for(lambda: browser.run(script), seconds), script

    on_page("typeof pictures !== 'undefined' && pictures.length == 2 && pictures.every((p) => p.drawn || p.rate)")
    on_page("features.length > 50 && !!document.querySelector('[data-name=ExposureTime] input')")
    return page, on_page


def test_the_page_in_a_browser(shown, browser, tmp_path):
    page, on_page = shown
    first = browser.run(PIXELS)
    assert wait_for(lambda: browser.run(PIXELS) != first, 30), "the picture does not change"
    # A feature edited on the page changes in the camera.
    browser.run("""(() => { const f = document.querySelector("[data-name=ExposureTime] input[type=number]");
        f.value = "4321"; f.dispatchEvent(new Event("change")); })()""")
    assert wait_for(lambda: page.json("/api/0/feature?name=ExposureTime")["value"] == 4321)
    browser.run("byId('cross').click(); byId('marks').click(); byId('snapshot').click()")
    assert wait_for(lambda: list(tmp_path.glob("10000002-*.png")))
    on_page("byId('message').textContent.startsWith('saved')")
    on_page("byId('counters').textContent.includes('frames per second')")
    page.ask("/api/0/feature", {"name": "SimulatorUnplugReturnTime", "value": "3000"})
    page.ask("/api/0/command", {"name": "SimulatorUnplug"})
    on_page("pictures[0].figure.classList.contains('gone') && byId('message').className === 'bad'")
    on_page("byId('message').textContent === 'the camera is back'")
    first = browser.run(PIXELS)
    assert wait_for(lambda: browser.run(PIXELS) != first, 30), "the picture does not go on"


def test_movies_settings_and_triggers_by_clicks(shown, browser, tmp_path):
    page, on_page = shown
    browser.call("Browser.setDownloadBehavior", behavior="allow", downloadPath=str(tmp_path))
    browser.click("#record")
    on_page("byId('record').textContent === 'End recording' && state.record_frames > 3")
    browser.click("#record")
    on_page("byId('message').textContent.startsWith('recorded')")
    assert [path for path in tmp_path.glob("10000002-*.mkv") if path.stat().st_size > 1000]
    browser.click("#save")
    settings = tmp_path / "10000002-settings.txt"
    assert wait_for(lambda: settings.exists() and "ExposureTime" in settings.read_text())
    page.json("/api/0/feature", {"name": "ExposureTime", "value": "777"})
    node = browser.call("DOM.querySelector", selector="#file",
                        nodeId=browser.call("DOM.getDocument")["root"]["nodeId"])["nodeId"]
    browser.call("DOM.setFileInputFiles", files=[str(settings)], nodeId=node)
    on_page("byId('message').textContent === 'settings loaded'")
    assert page.json("/api/0/feature?name=ExposureTime")["value"] != 777
    for name, value in (("TriggerSource", "Software"), ("TriggerMode", "On")):
        page.json("/api/0/feature", {"name": name, "value": value})
    on_page("state.frames_per_second === 0")
    before = browser.run("state.frames")
    assert before > 3
    browser.click("#trigger")
    on_page("state.frames === %d" % (before + 1))
    browser.click("#run")
    on_page("byId('run').textContent === 'Start'")


def test_the_page_by_keyboard(shown, browser):
    page, on_page = shown

    def tab_to(wanted, presses=60):
        for _ in range(presses):
            browser.press("Tab", 9)
            if browser.run("document.activeElement.matches(`%s`)" % wanted):
                return
        raise AssertionError(wanted + " cannot be reached")

    tab_to("figure")
    browser.press("+", 187, "+")
    assert browser.run("pictures[0].zoom") == 1.25
    tab_to("#filter")  # past the other picture
    assert browser.run("chosen") == 0
    for letter in "gain":
        browser.press(letter, ord(letter.upper()), letter)
    tab_to("[aria-label=\"Gain slider\"]")
    for step in (1, 2):  # the slider keeps the keyboard while the features are read again
        value = page.json("/api/0/feature?name=Gain")["value"]
        browser.press("ArrowRight", 39)
        assert wait_for(lambda: page.json("/api/0/feature?name=Gain")["value"] > value), step
        on_page("byId('message').textContent.startsWith('Gain') && document.activeElement.matches("
                "'[aria-label=\"Gain slider\"]') && features.find((f) => f.name === 'Gain').value > %r" % value)
    browser.run("document.querySelector('figure').focus()")
    browser.press("Tab", 9)
    browser.press("Enter", 13, "\r")
    on_page("chosen === 1 && pictures[1].figure.classList.contains('chosen')")
