"""What goes wrong, as exceptions: each carries the code, its text and the feature it is about."""
from __future__ import annotations

from typing import Dict, Optional, Type

import libZelCameraApiPy as _zel


def text_of(code: int) -> str:
    """The SDK's sentence for a code; also for -1011, whose text holds a byte that is no UTF-8."""
    try:
        return _zel.ErrorCodeToString(code) or ""
    except UnicodeDecodeError as error:
        return error.object.decode("cp1252")


class ZelError(Exception):
    """An operation failed. `code` is the SDK's, `text` its sentence, `feature` a name or None."""

    def __init__(self, what: str, code: int = 0, feature: Optional[str] = None) -> None:
        self.code = code
        self.text = text_of(code) if code else ""
        self.feature = feature
        super().__init__("%s: %d %s" % (what, code, self.text) if code else what)


class CameraNotFound(ZelError, LookupError):
    """No camera, or none that fits what was asked for."""


class CameraBusy(ZelError):
    """The camera is open already, here or in another process."""


class CameraLost(ZelError, ConnectionError):
    """The camera was unplugged or no longer answers: close it, and open it when it is back."""


class FrameTimeout(ZelError, TimeoutError):
    """No frame came in time."""


class Aborted(ZelError):
    """The wait was ended: by stop(), by close() or by a signal."""


class FeatureError(ZelError):
    """A feature refused to be read, written or executed."""


class UnknownFeature(FeatureError, KeyError, AttributeError):
    """The camera has no such feature."""

    def __str__(self) -> str:
        return Exception.__str__(self)


class FeatureAccess(FeatureError):
    """The feature cannot be read or written now."""


class FeatureRange(FeatureError, ValueError):
    """The value is out of range, off the increment, or no entry of the enumeration."""


class FeatureType(FeatureError, TypeError):
    """The value has a type that the feature does not take."""


_CLASSES: Dict[int, Type[ZelError]] = {
    -1004: CameraBusy,
    -1005: CameraBusy,
    -1006: CameraLost,
    -1007: CameraNotFound,
    -1010: CameraLost,
    -1011: FrameTimeout,
    -1012: Aborted,
    -40006: CameraNotFound,
}
_FEATURE_CLASSES: Dict[int, Type[ZelError]] = {
    -1005: FeatureAccess,
    -1010: CameraLost,
    -1014: FeatureAccess,
    -1019: FeatureRange,
    -40202: FeatureAccess,
    -40203: FeatureType,
    -40204: FeatureRange,
    -40205: UnknownFeature,
    -40206: FeatureRange,
}


def error(what: str, code: int) -> ZelError:
    """The exception of an operation of a camera or a stream."""
    return _CLASSES.get(code, ZelError)(what, code)


def feature_error(what: str, code: int, feature: str) -> ZelError:
    """The exception of an operation of a feature."""
    return _FEATURE_CLASSES.get(code, FeatureError)("%s %s" % (what, feature), code, feature)
