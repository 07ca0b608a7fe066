"""Chromium without a window, driven through its debugging socket."""

import base64
import http.client
import json
import socket
import struct
import subprocess
import time


class Browser:
    """One page; ended by `with`. `profile` is a folder that it may fill."""

    def __init__(self, profile):
        with socket.socket() as free:
            free.bind(("127.0.0.1", 0))
            port = free.getsockname()[1]
        self.number = 0
        self.process = subprocess.Popen(
            ["chromium", "--headless=new", "--no-sandbox", "--disable-gpu", "--disable-dev-shm-usage",
             "--no-first-run", "--user-data-dir=%s" % profile, "--window-size=1400,900",
             "--remote-debugging-port=%d" % port, "about:blank"],
            stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        try:
            self.connect(port)
        except BaseException:
            self.process.kill()
            raise

    def __enter__(self):
        return self

    def __exit__(self, *exception):
        self.socket.close()
        self.process.terminate()
        self.process.wait(timeout=30)

    def connect(self, port):
        end = time.monotonic() + 60
        while not self.pages(port) and time.monotonic() < end:
            time.sleep(0.1)
        path = self.pages(port)[0]["webSocketDebuggerUrl"].split(str(port), 1)[1]
        self.socket = socket.create_connection(("127.0.0.1", port), timeout=60)
        self.socket.sendall(("GET %s HTTP/1.1\r\nHost: 127.0.0.1:%d\r\nUpgrade: websocket\r\n"
                             "Connection: Upgrade\r\nSec-WebSocket-Key: eHh4eHh4eHh4eHh4eHh4eA==\r\n"
                             "Sec-WebSocket-Version: 13\r\n\r\n" % (path, port)).encode())
        self.file = self.socket.makefile("rb")
        while self.file.readline() not in (b"\r\n", b""):
            pass

    @staticmethod
    def pages(port):
        try:
            connection = http.client.HTTPConnection("127.0.0.1", port, timeout=5)
            connection.request("GET", "/json")
            return [p for p in json.loads(connection.getresponse().read()) if p["type"] == "page"]
        except (OSError, ValueError):
            return []

    def call(self, method, **parameters):
        self.number += 1
        text = json.dumps({"id": self.number, "method": method, "params": parameters}).encode()
        self.socket.sendall(b"\x81\xff" + struct.pack(">Q", len(text)) + b"\0\0\0\0" + text)
        while True:
            answer = json.loads(self.message())
            if answer.get("id") == self.number:
                return answer["result"]

    def message(self):
        data, final = b"", False
        while not final:
            first, size = self.file.read(2)
            final = bool(first & 0x80)
            size &= 0x7F
            if size > 125:
                size = int.from_bytes(self.file.read(2 if size == 126 else 8), "big")
            data += self.file.read(size)
        return data

    def run(self, script):
        """The value of an expression on the page, awaited."""
        result = self.call("Runtime.evaluate", expression=script, awaitPromise=True,
                           returnByValue=True)
        assert "exceptionDetails" not in result, result
        return result["result"].get("value")

    def click(self, selector):
        """A real click, in the middle of what is seen."""
        x, y = self.run("""(() => { const e = document.querySelector("%s"); e.scrollIntoView({block: "center"});
            const b = e.getBoundingClientRect(); return [b.x + b.width / 2, b.y + b.height / 2]; })()""" % selector)
        for kind in ("mousePressed", "mouseReleased"):
            self.call("Input.dispatchMouseEvent", type=kind, x=x, y=y, button="left", clickCount=1)

    def press(self, key, code, text=""):
        for kind in ("keyDown", "keyUp"):
            self.call("Input.dispatchKeyEvent", type=kind, key=key, code=key, text=text if kind == "keyDown" else "",
                      windowsVirtualKeyCode=code)

    def screenshot(self, path):
        path.write_bytes(base64.b64decode(self.call("Page.captureScreenshot")["data"]))
