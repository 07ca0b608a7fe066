"""The scripted libraries as Python sees them: set answers, read the log of calls, fire events.

Operations are named "Class.Operation" ("Device.ReadMem"), those of one object "Class:which.Operation"
("Interface:usb.GetType"), plain C functions by their name. Objects are the strings "Class:which".
"""

import collections
import ctypes
import json
import math
import os

Call = collections.namedtuple("Call", "name on args locked thread")

# A system with two interfaces, a device on the first, one stream, frames of 4 x 3 bytes.
WORLD = {
    "ZelCam_GetSystem": "System:main",
    "ZelCam_CreateDevice": "Device:one",
    "System.GetInterfaceList": ["Interface:gige", "Interface:usb"],
    "System.GetDisplayName": "Scripted system",
    "System.GetVersion": "9.8.7",
    "System.CreateDeviceFromConfig": "Device:configured",
    "Interface.GetParameters": "Array:interface",
    "Interface.GetDeviceInfoList": ["DeviceInfo:one", "DeviceInfo:two"],
    "Interface.GetFirstDeviceInfo": "DeviceInfo:one",
    "Interface:gige.GetType": 2,
    "Interface:usb.GetType": 1,
    "Interface.GetDescription": "An interface",
    "DeviceInfo.GetInterface": "Interface:gige",
    "DeviceInfo.GetModel": "Model",
    "DeviceInfo.GetVendor": "Vendor",
    "DeviceInfo.GetVersion": "Version",
    "DeviceInfo.GetSerialNumber": "Serial",
    "DeviceInfo.GetDisplayName": "Shown",
    "DeviceInfo.GetUserDefinedName": "Mine",
    "DeviceInfo.GetIPAddress": "192.168.0.1",
    "DeviceInfo.GetIPMask": "255.255.255.0",
    "DeviceInfo.GetIPGateway": "192.168.0.254",
    "Device.GetInfo": "DeviceInfo:one",
    "Device.GetNumStreams": 1,
    "Device.GetCameraParameters": "Array:camera",
    "Device.GetTransportParameters": "Array:transport",
    "Device.GetStreamByIndex": "Stream:zero",
    "Device.GetStreamById": "Stream:zero",
    "Stream.CreateBuffer": "Buffer:created",
    "Stream.GetBuffer": "Buffer:frame",
    "Buffer.GetWidth": 4,
    "Buffer.GetHeight": 3,
    "Buffer.GetBufferSize": 12,
    "Buffer.GetBufferPtr": bytes(range(64, 96)),
    "Buffer.GetImage": {"pixelType": 0x01080101, "width": 4, "height": 3},
    "Array.GetParam": "Int:Gain",
    "Array.GetParamByIndex": "Int:Gain",
    "Array.GetInt": "Int:Gain",
    "Array.GetFloat": "Float:Exposure",
    "Array.GetBoolean": "Boolean:Reverse",
    "Array.GetString": "String:UserId",
    "Array.GetCommand": "Command:Start",
    "Array.GetEnum": "Enum:Format",
    "Array.GetRootCategory": "Category:Root",
    "Array.GetNodeMap": "NodeMap:camera",
    "Category.GetParamByIndex": "Int:Gain",
    "Enum.GetEnumEntryByIndex": "EnumEntry:Mono8",
    "Param.GetNode": "Node:behind",
    "ZelImageSerializer_CreateComponent": "Serializer:one",
    "ZelImageSerializer_GetComponent": "SerializerParams:one",
    "ZelImageUnpacker_CreateComponent": "Unpacker:one",
    "ZelImageUnpacker_GetComponent": "UnpackerParams:one",
    "ZelBayer_CreateComponent": "Bayer:one",
    "ZelImageConverter_CreateComponent": "Converter:one",
}


def to_json(value):
    if isinstance(value, bytes):
        return value.decode("latin-1")
    if isinstance(value, str):
        return value.encode("utf-8", "surrogateescape").decode("latin-1")
    if isinstance(value, float) and not math.isfinite(value):
        return str(value)
    return value


def from_json(value):
    """Texts are str where they are UTF-8, else bytes."""
    if not isinstance(value, str):
        return value
    data = value.encode("latin-1")
    try:
        return data.decode()
    except UnicodeDecodeError:
        return data


class Double:
    def __init__(self, folder):
        # The same loaded libraries that the module uses; calls through PyDLL keep the interpreter
        # lock, calls through CDLL give it up.
        self.core = ctypes.CDLL(os.path.join(folder, "libzeldouble.so"))
        self.core.zeldouble_calls.restype = ctypes.c_char_p
        path = os.path.join(folder, "libZelCameraApi.so")
        self.camera = ctypes.CDLL(path)
        self.camera_locked = ctypes.PyDLL(path)
        self.camera.zeldouble_storm_delivered.restype = ctypes.c_long
        for library in (self.camera, self.camera_locked):
            for name in ("", "_nowhere", "_from_thread"):
                function = getattr(library, "zeldouble_fire" + name)
                function.argtypes = [ctypes.c_int, ctypes.c_char_p, ctypes.c_uint64]
        self.images = ctypes.CDLL(os.path.join(folder, "libZelImageApi.so"))
        self.seen = 0

    def reset(self):
        self.core.zeldouble_reset()
        self.images.zeldouble_number_images()
        self.seen = 0
        for key, result in WORLD.items():
            self.answer(key, result)

    def answer(self, key, result=0, **members):
        """The answer of an operation from now on: its result and its out-parameters."""
        self.answers(key, dict(members, result=result))

    def answers(self, key, *answers):
        """The answers of an operation one after the other; the last one stays."""
        plain = [{name: to_json(value) for name, value in answer.items()} for answer in answers]
        self.core.zeldouble_script(key.encode(), json.dumps(plain).encode())

    def record(self, on):
        self.core.zeldouble_record(int(on))

    def calls(self, first=0):
        return [Call(entry["call"], entry["on"], [from_json(arg) for arg in entry["args"]],
                     entry["locked"], entry["thread"])
                for entry in json.loads(self.core.zeldouble_calls(first))]

    def take(self, *names):
        """The calls since the last look; all, or only those with these names."""
        fresh = self.calls(self.seen)
        self.seen += len(fresh)
        return [call for call in fresh if not names or call.name in names]

    def take_args(self, name):
        """The arguments of the only call of this operation since the last look."""
        (call,) = self.take(name)
        return call.args

    def waiting(self):
        """Number of fetches that wait."""
        return self.camera.zeldouble_waiting()

    def registration(self):
        """The number of the latest event registration."""
        return self.camera.zeldouble_registrations() - 1

    def fire(self, number, data=b"", size=None, how="", locked=False):
        """Delivers an event to a registration; 1 when the callback threw."""
        library = self.camera_locked if locked else self.camera
        function = getattr(library, "zeldouble_fire" + how)
        return function(number, data, len(data) if size is None else size)

    def storm(self, number, pause_us=0):
        self.camera.zeldouble_storm_start(number, pause_us)

    def storm_delivered(self):
        return self.camera.zeldouble_storm_delivered()

    def end_storm(self):
        self.camera.zeldouble_storm_stop()
