"""One frame: its bytes, what is known of them, and pictures made of them."""
from __future__ import annotations

import os
import tempfile
from typing import TYPE_CHECKING, Any, Callable, Dict, Optional, Tuple, Union

from . import _components, _formats
from .errors import ZelError

if TYPE_CHECKING:
    import numpy

    from .camera import Camera
    from .features import Value

Path = Union[str, "os.PathLike[str]"]
Questions = Tuple[Callable[[], Any], ...]


def questions(buffer: Any) -> Questions:
    """What Frame asks a buffer. A stream fills one object again and again, and looking a method up
    costs more than calling it."""
    return (buffer.GetBufferPtr, buffer.GetWidth, buffer.GetHeight, buffer.GetPixelFormat,
            buffer.GetFrameID, buffer.GetTimestamp, buffer.IsIncomplete, buffer.GetXOffset,
            buffer.GetYOffset, buffer.GetXPadding)


class Frame:
    """A frame that was fetched. It is the script's own: it stays as it is when further frames come,
    and when the camera is closed. Only `chunks` have to be asked for before the next fetch."""

    __slots__ = ("data", "width", "height", "pixel_format", "id", "timestamp", "incomplete",
                 "x_offset", "y_offset", "x_padding", "_camera", "_number", "_chunks", "_array")

    data: bytearray  # the payload as the camera sent it
    width: int  # in pixels
    height: int
    pixel_format: int  # PFNC code
    id: int  # the camera's number of the frame
    timestamp: int  # in ns where the transport tells its unit
    incomplete: bool  # bytes are missing
    x_offset: int
    y_offset: int
    x_padding: int  # bytes behind each row

    def __init__(self, read: Questions, camera: "Camera", number: int) -> None:
        (self.data, self.width, self.height, self.pixel_format, self.id, self.timestamp,
         self.incomplete, self.x_offset, self.y_offset, self.x_padding) = [ask() for ask in read]
        self._camera = camera
        self._number = number
        self._chunks: Optional[Dict[str, "Value"]] = None
        self._array: Any = None

    @property
    def format(self) -> str:
        """Name of the pixel format, for example BayerRG8; the code in hexadecimal if unknown."""
        layout = _formats.of_code(self.pixel_format)
        return layout.name if layout else "0x%08X" % self.pixel_format

    @property
    def array(self) -> "numpy.ndarray[Any, Any]":
        """The samples as a NumPy array of (height, width) or (height, width, components).

        8-bit formats give uint8, deeper ones uint16 with the values as the camera sent them; a
        mosaic stays a mosaic, YUV 4:2:2 has two bytes a pixel. Formats that are not known give the
        bytes of each pixel. Formats that need no unpacking share
        the memory of `data`; the same array comes each time."""
        if self._array is None:
            self._array = self._make_array()
        array: "numpy.ndarray[Any, Any]" = self._array
        return array

    def rgb(self) -> "numpy.ndarray[Any, Any]":
        """The picture in colour: uint8 of (height, width, 3) in the order R, G, B. A mosaic is
        demosaiced, grey becomes three equal components."""
        return self._pixels(self._image(_formats.RGB8), 3)

    def mono8(self) -> "numpy.ndarray[Any, Any]":
        """The picture in grey: uint8 of (height, width)."""
        return self._pixels(self._image(_formats.MONO8), 1)

    @property
    def chunks(self) -> Dict[str, "Value"]:
        """What the camera appended to the frame, by the name of the chunk feature without "Chunk",
        for example {"ExposureTime": 5000.0}. Empty unless ChunkModeActive is on. To be asked for
        before the next frame is fetched; later it raises, unless it was asked for in time."""
        if self._chunks is None:
            self._chunks = self._camera._read_chunks(self._number)
        return self._chunks

    def save(self, path: Path) -> None:
        """Writes a picture file, whole or not at all; the extension tells its kind: png, tif, tiff,
        jpg, jpeg, bmp, pgm, ppm, pnm. Grey of more than 8 bits keeps its depth in png, tif and pgm;
        mosaics are written in colour."""
        deep = os.fspath(path).lower().endswith((".png", ".tif", ".tiff", ".pgm", ".pnm"))
        _components.save(self._image(None if deep else self._picture_format()), path)

    def _repr_png_(self) -> bytes:
        """Notebooks show the picture."""
        with tempfile.TemporaryDirectory() as folder:
            path = os.path.join(folder, "frame.png")
            _components.save(self._image(self._picture_format()), path)
            with open(path, "rb") as file:
                return file.read()

    def __repr__(self) -> str:
        return "<frame %d, %d x %d %s%s>" % (self.id, self.width, self.height, self.format,
                                             ", incomplete" if self.incomplete else "")

    def _layout(self) -> _formats.Format:
        layout = _formats.of_code(self.pixel_format)
        if layout is None:
            raise ZelError("pixel format 0x%08X is not known: only frame.data can be used"
                           % self.pixel_format)
        return layout

    def _picture_format(self) -> _formats.Format:
        """What a picture of 8 bits is made of."""
        return _formats.MONO8 if self._layout().is_mono else _formats.RGB8

    def _source(self) -> _components.Image:
        """The frame with its samples in whole bytes or words."""
        layout = self._layout()
        memory = self.data
        needed = self.height * ((self.width * layout.stored_bits + 7) // 8 + self.x_padding)
        if self.incomplete and len(memory) < needed:
            memory = memory + bytes(needed - len(memory))
        source = _components.image(layout, self.width, self.height, self.x_padding, memory)
        if not layout.bit_packed:
            return source
        target = layout.unpacked
        if target is None:
            raise ZelError("%s cannot be unpacked" % layout.name)
        return _components.unpack(source, _components.image(target, self.width, self.height))

    def _image(self, target: Optional[_formats.Format]) -> _components.Image:
        """The picture in Mono8, RGB8 or, for None, as deep as a file can hold it."""
        layout = self._layout()
        source = self._source()
        if target is None:
            if layout.is_mono or layout in (_formats.RGB8, _formats.BGR8):
                return source
            target = _formats.RGB8
        if layout.is_bayer:
            colour = _components.image(_formats.RGB8, self.width, self.height)
            source, layout = _components.demosaic(source, colour), _formats.RGB8
        if layout == target:
            return source
        if not layout.is_mono and layout not in (_formats.RGB8, _formats.BGR8):
            raise ZelError("no way from %s to %s" % (layout.name, target.name))
        return _components.convert(source, _components.image(target, self.width, self.height))

    def _pixels(self, image: _components.Image, components: int) -> "numpy.ndarray[Any, Any]":
        np = _numpy()
        rows = np.frombuffer(image.memory, np.uint8, image.stride * self.height)
        rows = rows.reshape(self.height, image.stride)[:, :self.width * components]
        shape = (self.height, self.width, components) if components > 1 else rows.shape
        array: "numpy.ndarray[Any, Any]" = rows.reshape(shape)
        return array

    def _make_array(self) -> "numpy.ndarray[Any, Any]":
        np = _numpy()
        known = _formats.of_code(self.pixel_format)
        whole, rest = divmod(self.pixel_format >> 16 & 0xFF, 8)
        if known is None and whole and not rest:
            raw = np.frombuffer(self.data, np.uint8, self.width * self.height * whole)
            other: "numpy.ndarray[Any, Any]" = raw.reshape(self.height, self.width, whole)
            return other
        layout = self._layout()
        source = self._source()
        layout = layout.unpacked or layout if layout.bit_packed else layout
        word = 1 if layout.bits == 8 else 2
        rows = np.frombuffer(source.memory, np.uint8, source.stride * self.height)
        rows = rows.reshape(self.height, source.stride)[:, :self.width * layout.stored_bits // 8]
        samples = layout.stored_bits // 8 // word
        if word == 2:
            rows = np.ascontiguousarray(rows).view("<u2")
        shape = (self.height, self.width, samples) if samples > 1 else (self.height, self.width)
        array: "numpy.ndarray[Any, Any]" = rows.reshape(shape)
        return array


def _numpy() -> Any:
    try:
        import numpy
    except ImportError:
        raise ImportError("frame.array needs NumPy; frame.data has the bytes without it") from None
    return numpy
