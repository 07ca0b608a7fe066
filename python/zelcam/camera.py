"""Cameras: finding, opening, streaming."""
from __future__ import annotations

import atexit
import logging
import os
import threading
import weakref
from typing import Any, Dict, Iterator, List, Optional

import libZelCameraApiPy as _zel

from .errors import CameraNotFound, ZelError, error
from .events import Events
from .features import CATEGORY, COMMAND, Features, Value
from .frame import Frame, Path, Questions, questions
from .movie import Movie

log = logging.getLogger("zelcam")

_INTERFACES = {1: "USB3 Vision", 2: "GigE Vision", 3: "Camera Link", 4: "CoaXPress", 5: "HD-SDI"}
_ACCESS = {1: "free", 3: "no access", 4: "busy", 5: "open", 6: "open, read only"}
_FOREVER = -1


class CameraInfo:
    """A camera that was found, opened or not."""

    __slots__ = ("serial", "model", "vendor", "name", "display_name", "interface", "_info")

    def __init__(self, info: Any, interface: str) -> None:
        self.serial: str = info.GetSerialNumber()
        self.model: str = info.GetModel()
        self.vendor: str = info.GetVendor()
        self.name: str = info.GetUserDefinedName() or ""
        self.display_name: str = info.GetDisplayName() or ""
        self.interface = interface
        self._info = info

    @property
    def address(self) -> Optional[str]:
        """The present IPv4 address as dotted text; None for cameras without."""
        return (self._info.GetIPAddress() or None) if self._info.GetIP()[0] else None

    @property
    def access(self) -> str:
        """free, busy, open, no access or unknown; asked afresh."""
        return _ACCESS.get(self._info.GetAccessStatus(), "unknown")

    def force_ip(self, address: str, mask: str, gateway: str = "0.0.0.0") -> None:
        """Gives a GigE Vision camera other network settings until it restarts."""
        if not self._info.ForceIP(address, mask, gateway):
            raise ZelError("%s does not take %s / %s" % (self.display_name, address, mask))

    def __repr__(self) -> str:
        return "<camera %s, serial %s, %s>" % (self.display_name, self.serial, self.interface)


def cameras(timeout: float = 1.0) -> List[CameraInfo]:
    """Looks for cameras on all interfaces, each for at most `timeout` seconds; real ones first."""
    found: List[CameraInfo] = []
    for interface in _zel.PyZelSystem().GetInterfaceList() or []:
        interface.ReEnumerateDevices(_milliseconds(timeout))
        kind = _INTERFACES.get(interface.GetType(), "unknown")
        found += [CameraInfo(info, kind) for info in interface.GetDeviceInfoList() or []]
    return found


def open(serial: Optional[str] = None, *, model: Optional[str] = None, name: Optional[str] = None,
         address: Optional[str] = None, index: Optional[int] = None, config: Optional[Path] = None,
         info: Optional[CameraInfo] = None, timeout: float = 1.0) -> "Camera":
    """Opens a camera: the first one that fits everything that is given, or the first of all.

    `serial`, `model`, `name` (user-defined) and `address` are compared whole, `index` counts those
    that fit; `config` is a settings file, which names its camera and is loaded into it; `info`
    comes from cameras(). CameraNotFound, CameraBusy."""
    if config is not None:
        system = _zel.PyZelSystem()
        device = system.CreateDeviceFromConfig(os.fspath(config))
        if device is None:
            raise error("cannot open a camera by %s" % os.fspath(config), system.GetLastError())
        return Camera(device)
    if info is None:
        wanted = {"serial": serial, "model": model, "name": name, "address": address}
        wanted = {key: value for key, value in wanted.items() if value is not None}
        fitting = [found for found in cameras(timeout)
                   if all(getattr(found, key) == value for key, value in wanted.items())]
        if not -len(fitting) <= (index or 0) < len(fitting):
            raise CameraNotFound("no camera with %s" % wanted if wanted else "no camera", -40006)
        info = fitting[index or 0]
    device = _zel.PyZelCreateDevice(info._info)
    if not device.IsValid():
        raise error("cannot open %s" % info.display_name, _zel.GetLastError())
    return Camera(device)


class Camera:
    """An open camera; close it, or use it in a `with` block. One thread streams; features can be
    used, and stop() and close() called, from any thread."""

    def __init__(self, device: Any) -> None:
        self.device = device  # the module's own object, for what is not wrapped here
        self.features = Features(device.GetCameraParameters())
        transport = device.GetTransportParameters()
        self.transport = Features(transport) if transport is not None else None
        info = device.GetInfo()
        self.info = CameraInfo(info, _INTERFACES.get(info.GetInterface().GetType(), "unknown"))
        self.events = Events(self)
        self._stream: Any = None
        self._buffer: Any = None
        self._read: Questions = ()
        self._started = False
        # stop() of another thread ends before start() of this one begins.
        self._switching = threading.RLock()
        self._number = 0
        self._handling: Optional[Value] = None
        self._chunk_features: Optional[List[str]] = None
        _open_cameras.add(self)
        log.info("opened %s", self.info)

    def frames(self, count: Optional[int] = None, *, timeout: Optional[float] = 2.0,
               newest: bool = False, buffers: int = 8) -> Iterator[Frame]:
        """Streams: yields `count` frames, or frames without end, and stops when the loop is left.

        FrameTimeout when none comes for `timeout` seconds (None: waits for ever). `newest` drops
        what the loop is too slow for, so that each frame is the latest; otherwise up to `buffers`
        frames wait their turn. Incomplete frames are yielded, too: look at frame.incomplete."""
        self.start(newest=newest, buffers=buffers)
        try:
            while count is None or count > 0:
                yield self.fetch(timeout)
                count = None if count is None else count - 1
        finally:
            self.stop()

    def grab(self, timeout: Optional[float] = 2.0) -> Frame:
        """One frame: from the running stream, or by starting and stopping one."""
        if self._started:
            return self.fetch(timeout)
        self.start(buffers=2)
        try:
            return self.fetch(timeout)
        finally:
            self.stop()

    def start(self, *, newest: bool = False, buffers: int = 8) -> None:
        """Starts a stream for fetch(); nothing happens when one runs already."""
        with self._switching:
            if self._started:
                return
            if self._stream is None:
                self._stream = self._opened().GetStreamByIndex(0)
                if self._stream is None:
                    raise ZelError("%s has no stream" % self.info.display_name)
            stream = self._stream
            self._handle("NewestOnly" if newest else None)
            if not stream.AllocBufferQueue(max(buffers, stream.GetMinNumBuffers())):
                raise ZelError("no memory for %d frames of %d bytes" % (
                    buffers, stream.GetBufferSize()), -1021)
            if not stream.StartAcquisition():
                stream.ReleaseBufferQueue()
                raise ZelError("%s does not start" % self.info.display_name)
            self._started = True
            log.debug("started %s", self.info)

    def fetch(self, timeout: Optional[float] = 2.0) -> Frame:
        """The next frame of a started stream. FrameTimeout, CameraLost, Aborted (stop() in another
        thread)."""
        stream = self._stream
        if stream is None or not self._started:
            raise ZelError("no stream is started")
        buffer = stream.GetBuffer(_milliseconds(timeout))
        if buffer is None:
            raise error("no frame within %s s" % timeout, stream.GetLastError())
        if buffer is not self._buffer:
            self._buffer, self._read = buffer, questions(buffer)
        self._number += 1
        frame = Frame(self._read, self, self._number)
        stream.QueueBuffer(buffer)
        return frame

    def stop(self) -> None:
        """Ends the stream; nothing happens when none runs."""
        with self._switching:
            stream, started, self._started = self._stream, self._started, False
            if stream is not None and started:
                stream.StopAcquisition(0)
                stream.ReleaseBufferQueue()
                self._handle(None)
                log.debug("stopped %s", self.info)

    def trigger(self, source: str = "FrameStart") -> None:
        """Sends a software trigger. The trigger has to be on (TriggerMode) and its TriggerSource
        Software."""
        if "TriggerSelector" in self.features:
            self.features["TriggerSelector"] = source
        self.features.TriggerSoftware.execute()

    def record(self, path: Path, rate: Optional[float] = None, compressor: str = "") -> Movie:
        """A movie to which frames are added; use it in a `with` block. avi, mkv, mp4, mov or webm by
        the extension; `rate` in frames per second, by default what the camera says it delivers."""
        if rate is None:
            rate = 25.0
            for name in ("AcquisitionResultingFrameRate", "ResultingFrameRate",
                         "AcquisitionFrameRate"):
                told = self.features.get(name)
                if isinstance(told, (int, float)) and told > 0:
                    rate = float(told)
                    break
        return Movie(path, rate, compressor)

    def save_settings(self, path: Path) -> None:
        """Writes the settings of the camera into a file, which also names the camera."""
        if not self._opened().SaveConfiguration(os.fspath(path)):
            raise ZelError("settings could not be saved to %s" % os.fspath(path))

    def load_settings(self, path: Path) -> None:
        """Loads settings, all or none of them."""
        if not self._opened().LoadConfiguration(os.fspath(path)):
            raise ZelError("settings of %s were refused; nothing was changed" % os.fspath(path))

    def close(self) -> None:
        """Stops, gives the camera back; nothing happens when it is closed already."""
        self.stop()
        self.events.close()
        stream, self._stream = self._stream, None
        if stream is not None:
            self._buffer, self._read = None, ()
            stream.Release()
        if self.device.IsValid():
            self.device.Release()
            log.info("closed %s", self.info)
        _open_cameras.discard(self)

    def __enter__(self) -> "Camera":
        return self

    def __exit__(self, *exception: object) -> None:
        self.close()

    def __repr__(self) -> str:
        return repr(self.info) if self.device.IsValid() else "<closed camera %s>" % self.info.serial

    def _opened(self) -> Any:
        if not self.device.IsValid():
            raise ZelError("the camera is closed", -1006)
        return self.device

    def _handle(self, mode: Optional[str]) -> None:
        """Chooses how frames wait, and puts back what was before."""
        transport = self.transport
        if transport is None or "StreamBufferHandlingMode" not in transport:
            if mode is not None:
                raise ZelError("this camera's stream has no %s" % mode)
            return
        if mode is not None:
            self._handling = transport["StreamBufferHandlingMode"]
            transport["StreamBufferHandlingMode"] = mode
        elif self._handling is not None:
            before, self._handling = self._handling, None
            transport["StreamBufferHandlingMode"] = before

    def _read_chunks(self, number: int) -> Dict[str, Value]:
        if number != self._number:
            raise ZelError("chunks of a frame have to be read before the next one is fetched")
        if not self.features.get("ChunkModeActive"):
            return {}
        chunks: Dict[str, Value] = {}
        for name in self._chunk_names():
            value = self.features.get(name)
            if value is not None:
                chunks[name[len("Chunk"):]] = value
        return chunks

    def _chunk_names(self) -> List[str]:
        if self._chunk_features is None:
            control = ("ChunkModeActive", "ChunkSelector", "ChunkEnable")
            self._chunk_features = [
                name for name in self.features
                if name.startswith("Chunk") and name not in control
                and self.features.feature(name)._kind not in (CATEGORY, COMMAND)]
        return self._chunk_features


def _milliseconds(timeout: Optional[float]) -> int:
    if timeout is None:
        return _FOREVER
    if not timeout >= 0:
        raise ValueError("a time-out is not negative: %r" % timeout)
    return min(int(timeout * 1000), 1 << 40)


_open_cameras: "weakref.WeakSet[Camera]" = weakref.WeakSet()


@atexit.register
def _close_all() -> None:
    for camera in list(_open_cameras):
        camera.close()
