"""Events of a camera: as callbacks, or as an iterator."""
from __future__ import annotations

import queue
import struct
import time
from typing import TYPE_CHECKING, Any, Callable, Dict, Iterator, NamedTuple, Optional

from .errors import FrameTimeout, UnknownFeature

if TYPE_CHECKING:
    from .camera import Camera


# Where events carry their identifier: GigE Vision, USB3 Vision, cameras behind other transports.
_IDENTIFIERS = ((">H", 2), ("<H", 2), (">Q", 0), ("<Q", 0))


class Event(NamedTuple):
    """An event that came. The camera's features Event...Timestamp and the like tell of the last."""
    name: Optional[str]  # None when several are switched on and the data do not tell which it is
    data: bytes
    time: float  # time.monotonic() of its arrival


class Events:
    """Switches events on and hands them out. Callbacks run on the thread that delivers them."""

    def __init__(self, camera: "Camera") -> None:
        self._camera = camera
        self._names: Dict[int, str] = {}
        self._callbacks: Dict[str, Callable[[Event], object]] = {}

    def on(self, name: str, callback: Callable[[Event], object]) -> None:
        """Calls `callback(event)` for each event `name`, for example "ExposureEnd"."""
        camera = self._camera
        number = camera.features.get("Event" + name)
        if not isinstance(number, int):
            raise UnknownFeature("no event %s" % name, -40205, "Event" + name)
        self._callbacks[name] = callback
        self._names[number] = name
        camera._opened().RegisterEvent(number, self._deliver)
        if "EventSelector" in camera.features:
            camera.features["EventSelector"] = name
            camera.features["EventNotification"] = "On"

    def off(self, name: str) -> None:
        """Ends what on() began; nothing happens when it was not on."""
        if self._callbacks.pop(name, None) is None:
            return
        number = next(key for key, value in self._names.items() if value == name)
        del self._names[number]
        camera = self._camera
        if not camera.device.IsValid():
            return
        camera.device.UnRegisterEvent(number, None)
        if "EventSelector" in camera.features:
            camera.features["EventSelector"] = name
            camera.features["EventNotification"] = "Off"
        # One callable serves all events of a device, and the call above took it away.
        for other in self._names:
            camera.device.RegisterEvent(other, self._deliver)

    def stream(self, name: str, count: Optional[int] = None,
               timeout: Optional[float] = None) -> Iterator[Event]:
        """Yields events as they come; FrameTimeout when none comes for `timeout` seconds."""
        arrived: "queue.SimpleQueue[Event]" = queue.SimpleQueue()
        self.on(name, arrived.put)
        try:
            while count is None or count > 0:
                try:
                    yield arrived.get(timeout=timeout)
                except queue.Empty:
                    raise FrameTimeout("no event %s within %s s" % (name, timeout), -1011) from None
                count = None if count is None else count - 1
        finally:
            self.off(name)

    def close(self) -> None:
        """Switches everything off."""
        for name in list(self._callbacks):
            try:
                self.off(name)
            except Exception:  # noqa: BLE001 - a camera that is gone has nothing to switch off
                self._callbacks.pop(name, None)

    def _deliver(self, data: Any, size: int, key: int) -> None:
        name = self._name_of(data)
        event = Event(name, bytes(data), time.monotonic())
        names = [name] if name is not None else list(self._callbacks)
        for each in names:
            callback = self._callbacks.get(each)
            if callback is not None:
                callback(event)

    def _name_of(self, data: Any) -> Optional[str]:
        names = self._names
        if len(names) == 1:
            return next(iter(names.values()))
        for layout, place in _IDENTIFIERS:
            if len(data) >= place + struct.calcsize(layout):
                name = names.get(struct.unpack_from(layout, data, place)[0])
                if name is not None:
                    return name
        return None
