"""The serializer library through ctypes: images from NumPy arrays, calls that return the code."""
import ctypes
import os

import numpy as np

MONO8, MONO10, MONO12, MONO14, MONO16 = 0x01080101, 0x01100202, 0x01100306, 0x0110040A, 0x0110050B
RGB8, BGR8 = 0x02180171, 0x02180172


class Image(ctypes.Structure):
    """Mirror of the image structure of the image components."""

    _fields_ = [
        ("pixelType", ctypes.c_uint32),
        ("width", ctypes.c_uint32),
        ("height", ctypes.c_uint32),
        ("bitsPerComponent", ctypes.c_uint32),
        ("components", ctypes.c_uint32),
        ("packingAndDepth", ctypes.c_uint32),
        ("storedBits", ctypes.c_uint32),
        ("mosaic", ctypes.c_uint32),
        ("stride", ctypes.c_uint64),
        ("dataSize", ctypes.c_uint64),
        ("data", ctypes.c_void_p),
        ("owner", ctypes.c_void_p),
    ]


def image_of(array, pixel_type):
    """Describes a contiguous array; the image borrows its memory, so it keeps the array alive."""
    array = np.ascontiguousarray(array)
    image = Image(pixelType=pixel_type, width=array.shape[1], height=array.shape[0])
    image.storedBits = (pixel_type >> 16) & 0xFF
    image.stride = array.strides[0]
    image.dataSize = array.nbytes
    image.data = array.ctypes.data
    image.array = array
    return image




class Serializer:
    """One serializer component; the library is looked for in the directory of the built module."""

    def __init__(self, directory=None):
        directory = directory or os.environ["ZEL_PYTHON_DIR"]
        self._library = ctypes.CDLL(os.path.join(directory, "libZelImageSerializer.so"))
        create = self._library.ZelImageSerializer_CreateComponent
        create.restype = ctypes.c_void_p
        self._start = self._library.ZelImageSerializer_StartMovieRecord
        self._start.argtypes = [
            ctypes.c_void_p, ctypes.POINTER(Image), ctypes.c_char_p, ctypes.c_double,
        ]
        self._save = self._library.ZelImageSerializer_Save
        self._save.argtypes = [ctypes.c_void_p, ctypes.POINTER(Image), ctypes.c_char_p]
        self._library.ZelImageSerializer_GetComponent.restype = ctypes.c_void_p
        self._handle = ctypes.c_void_p(create(0))

    def close(self):
        self._library.ZelImageSerializer_DeleteComponent(self._handle)
        self._handle = None

    def save(self, array, pixel_type, name):
        image = image_of(array, pixel_type)
        return self._save(self._handle, ctypes.byref(image), os.fsencode(name))

    def start(self, array, pixel_type, name, rate):
        image = image_of(array, pixel_type)
        return self._start(self._handle, ctypes.byref(image), os.fsencode(name), rate)

    def append(self, array, pixel_type):
        image = image_of(array, pixel_type)
        return self._save(self._handle, ctypes.byref(image), None)

    def finish(self):
        return self._library.ZelImageSerializer_FinishRecord(self._handle)

    def _slot(self, index, result, *arguments):
        # Parameters are an abstract class: the object begins with its table of functions.
        get = self._library.ZelImageSerializer_GetComponent
        this = ctypes.c_void_p(get(self._handle))
        table = ctypes.cast(this, ctypes.POINTER(ctypes.POINTER(ctypes.c_void_p))).contents
        function = ctypes.CFUNCTYPE(result, ctypes.c_void_p, *arguments)(table[index])
        return lambda *values: function(this, *values)

    def set_integer(self, key, value):
        call = self._slot(0, ctypes.c_int32, ctypes.c_char_p, ctypes.c_int32)
        return call(key.encode(), value)

    def set_string(self, key, text):
        call = self._slot(1, ctypes.c_int32, ctypes.c_char_p, ctypes.c_char_p)
        return call(key.encode(), text.encode())

    def get_string(self, key, capacity=256):
        length = ctypes.c_uint32(capacity)
        buffer = ctypes.create_string_buffer(capacity)
        call = self._slot(
            2, ctypes.c_int32, ctypes.c_char_p, ctypes.c_char_p, ctypes.POINTER(ctypes.c_uint32)
        )
        code = call(key.encode(), buffer, ctypes.byref(length))
        return code, buffer.value.decode()
