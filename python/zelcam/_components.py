"""The image components, called through ctypes: unpack, demosaic, convert, write files and movies.

They are the same libraries that the module uses. Each call lets other Python threads run.
"""
from __future__ import annotations

import ctypes
import os
import threading
from typing import Any, Optional, Union

import libZelCameraApiPy as _zel

from ._formats import Format
from .errors import error


class Size(ctypes.Structure):
    """ZelSize."""
    _fields_ = [("width", ctypes.c_uint32), ("height", ctypes.c_uint32)]


class Image(ctypes.Structure):
    """ZelImage; `memory` keeps what `data` points to."""
    _fields_ = [("pixel_type", ctypes.c_uint32), ("size", Size),
                ("bits_per_component", ctypes.c_uint32), ("components", ctypes.c_uint32),
                ("packing_and_depth", ctypes.c_uint32), ("stored_bits", ctypes.c_uint32),
                ("mosaic", ctypes.c_uint32), ("stride", ctypes.c_uint64),
                ("data_size", ctypes.c_uint64), ("data", ctypes.c_void_p),
                ("owner", ctypes.c_void_p)]
    memory: bytearray


def image(layout: Format, width: int, height: int, padding: int = 0,
          memory: Optional[bytearray] = None) -> Image:
    """Describes `memory` as an image, or makes an image with memory of its own."""
    stride = 0 if layout.bit_packed else width * layout.stored_bits // 8 + padding
    size = stride * height or (width * height * layout.stored_bits + 7) // 8
    if memory is None:
        memory = bytearray(size)
    elif len(memory) < size:
        raise ValueError("%d bytes are no picture of %d x %d in %s" % (
            len(memory), width, height, layout.name))
    made = Image(layout.pixel_type, Size(width, height), layout.bits, layout.components,
                 layout.pixel_type & 0xFF00, layout.stored_bits, 0, stride, len(memory), None, None)
    made.data = ctypes.addressof((ctypes.c_char * len(memory)).from_buffer(memory))
    made.memory = memory
    return made


def _library(name: str) -> ctypes.CDLL:
    """The library that the module has loaded already; else the one beside the module."""
    try:
        return ctypes.CDLL(name, mode=os.RTLD_NOW | os.RTLD_NOLOAD)
    except OSError:
        return ctypes.CDLL(os.path.join(os.path.dirname(_zel.__file__), name))


class _Component:
    """One component of a library; one call at a time, as the components want it."""

    def __init__(self, library: str, prefix: str, *arguments: Any) -> None:
        self._library = _library(library)
        self._prefix = prefix
        self._lock = threading.Lock()
        create = self.function("CreateComponent")
        create.restype = ctypes.c_void_p
        self._handle = create(*arguments)
        if not self._handle:
            raise MemoryError(library)

    def function(self, name: str) -> Any:
        return getattr(self._library, self._prefix + "_" + name)

    def call(self, name: str, *arguments: Any) -> None:
        """Calls an operation of the component; a code other than 0 is raised."""
        function = self.function(name)
        function.restype = ctypes.c_int32
        with self._lock:
            code = function(ctypes.c_void_p(self._handle), *arguments)
        if code:
            raise error(name, code)

    def delete(self) -> None:
        """Frees the component; a movie under way is finished first."""
        with self._lock:
            handle, self._handle = self._handle, None
        if handle:
            self.function("DeleteComponent")(ctypes.c_void_p(handle))


class _Shared(threading.local):
    """The components of one thread, made when they are first needed."""

    def component(self, library: str, prefix: str, *arguments: Any) -> _Component:
        made: Optional[_Component] = self.__dict__.get(prefix)
        if made is None:
            made = self.__dict__[prefix] = _Component(library, prefix, *arguments)
        return made


_shared = _Shared()


def unpack(source: Image, target: Image) -> Image:
    """Bit-packed samples into 16-bit words."""
    _shared.component("libZelImageUnpacker.so", "ZelImageUnpacker").call(
        "Unpack", ctypes.byref(source), ctypes.byref(target))
    return target


def demosaic(source: Image, target: Image) -> Image:
    """An unpacked mosaic into RGB8 or BGR8."""
    _shared.component("libZelDemosaicing.so", "ZelBayer").call(
        "ConvertImage", ctypes.byref(source), ctypes.byref(target))
    return target


def convert(source: Image, target: Image) -> Image:
    """Between mono of any depth, RGB8 and BGR8."""
    _shared.component("libZelImageConverter.so", "ZelImageConverter").call(
        "ConvertImage", ctypes.byref(source), ctypes.byref(target))
    return target


def _serializer(movies: bool) -> _Component:
    return _Component("libZelImageSerializer.so", "ZelImageSerializer", ctypes.c_int32(movies))


def save(picture: Image, path: Union[str, "os.PathLike[str]"]) -> None:
    """Writes a picture file, whole or not at all."""
    _shared.component("libZelImageSerializer.so", "ZelImageSerializer", ctypes.c_int32(0)).call(
        "Save", ctypes.byref(picture), os.fsencode(path))


class MovieFile:
    """A movie under way, with a serializer of its own: several can be recorded at once."""

    def __init__(self, first: Image, path: Union[str, "os.PathLike[str]"], rate: float,
                 compressor: str) -> None:
        self._component = _serializer(True)
        try:
            if compressor:
                self._choose(compressor)
            self._component.call("StartMovieRecord", ctypes.byref(first), os.fsencode(path),
                                 ctypes.c_double(rate))
        except Exception:
            self._component.delete()
            raise

    def _choose(self, compressor: str) -> None:
        get = self._component.function("GetComponent")
        get.restype = ctypes.c_void_p
        parameters = get(ctypes.c_void_p(self._component._handle))
        # SetString stands in slot 1 of the parameter object's table.
        table = ctypes.cast(parameters, ctypes.POINTER(ctypes.POINTER(ctypes.c_void_p)))
        set_string = ctypes.CFUNCTYPE(ctypes.c_int32, ctypes.c_void_p, ctypes.c_char_p,
                                      ctypes.c_char_p)(table[0][1] or 0)
        code = set_string(parameters, b"movie.compressor", compressor.encode())
        if code:
            raise error("compressor %s" % compressor, code)

    def add(self, picture: Image) -> None:
        """Appends a picture of the size and type of the first."""
        self._component.call("Save", ctypes.byref(picture), None)

    def finish(self) -> None:
        """Closes the file; what went wrong during the recording is raised."""
        try:
            self._component.call("FinishRecord")
        finally:
            self._component.delete()
