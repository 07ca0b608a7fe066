"""Type stubs of libZelCameraApiPy, the camera module.

Results: methods that return a bool answer True exactly when the camera SDK reported success; the
code of a failure is in GetLastError of the same object. Readers of parameters return (True, value)
or (False, None). Too few arguments never raise: the method writes a line to standard error and
returns its failure value, so arguments without a default are needed for success.

The classes are no names of the module; they stand here for annotations only, and Python cannot
construct them.
"""

from __future__ import annotations

from typing import (
    Any,
    Callable,
    Final,
    List,
    Literal,
    Optional,
    SupportsFloat,
    SupportsInt,
    Tuple,
    TypeVar,
    Union,
)

_Int = Union[SupportsInt, str]
_Float = Union[SupportsFloat, str]
_T = TypeVar("_T")
_Read = Union[Tuple[Literal[True], _T], Tuple[Literal[False], None]]
_AnyParam = Optional[Union["PyGenParam", "PyGenParamCategory"]]

class _PyZelSystem:
    """The process-wide camera system; every object stands for the same one."""
    def GetInterfaceList(self) -> Optional[List[PyDeviceInterface]]:
        """All transport interfaces, real ones first; None when the SDK gives no list."""
    def GetDisplayName(self) -> str:
        """Name of the system; "none" when there is no system."""
    def GetVersion(self) -> str:
        """Version of the SDK; "none" when there is no system."""
    def SelectCamera(self, *args: Any) -> None:
        """Takes anything, does nothing, returns None."""
    def ActionCamera(self, *args: Any) -> None:
        """Takes anything, does nothing, returns None."""
    def CreateDeviceFromConfig(self, file_name: str, /) -> Optional[PyDevice]:
        """Opens the device that a settings file names and loads the file into it; None with a
        code (-40002 no such file, -40004 no settings file, -40006 no such camera, -1004 or
        -1005 in use) otherwise."""
    def RegisterGenTLProvider(self, path: str, /) -> bool:
        """Loads a GenTL producer (.cti) or a folder of them; False with a code otherwise: -40002
        no such file, -40003 cannot be loaded."""
    def GetLastError(self) -> int:
        """Code of the last CreateDeviceFromConfig or RegisterGenTLProvider; 0 at first."""

class PyDeviceInterface:
    """One transport interface: network adapter, USB3 host, frame grabber."""
    USB3Vision: Final[int]
    GigEVision: Final[int]
    CameraLink: Final[int]
    CoaxPress: Final[int]
    HdSdi: Final[int]
    AllInterfaces: Final[int]
    def GetDescription(self) -> str:
        """What the interface is called, for example the network adapter's name."""
    def GetFirstDeviceInfo(self) -> PyDeviceInfo:
        """The first device that was found; an empty device info when there is none."""
    def ReEnumerateDevices(self, timeout_ms: _Int = ..., /) -> Tuple[bool, bool]:
        """Looks for devices for at most `timeout_ms` (default: as long as it takes); (True,
        whether the list changed) or (False, False) with a code."""
    def GetDeviceInfoList(self) -> Optional[List[PyDeviceInfo]]:
        """The devices found by the last look; None when the SDK gives no list."""
    def GetType(self) -> int:
        """1 USB3 Vision, 2 GigE Vision, 3 Camera Link, 4 CoaXPress, 5 HD-SDI."""
    def GetLastError(self) -> int:
        """Code of the last operation of this object; 0 at first."""
    def GetParameters(self) -> Optional[PyGenParams]:
        """The interface's own parameters, the same object each time; None where it has none."""

class PyDeviceInfo:
    """One discovered device, opened or not."""
    def GetInterface(self) -> PyDeviceInterface:
        """The interface at which the device was found."""
    def GetModel(self) -> str:
        """Model name."""
    def GetVendor(self) -> str:
        """Name of the maker."""
    def GetVersion(self) -> str:
        """Version of the device."""
    def GetSerialNumber(self) -> str:
        """Serial number."""
    def GetDisplayName(self) -> str:
        """Name to show to people."""
    def GetUserDefinedName(self) -> str:
        """The name that the user gave (DeviceUserID)."""
    def GetAccessStatus(self) -> int:
        """Asked afresh: 1 free, 3 no access, 4 busy, 5 open here, 6 open here for
        reading; 0 unknown."""
    def GetIPAddress(self) -> Optional[str]:
        """Present IPv4 address as dotted text; empty or None for devices without."""
    def GetIPMask(self) -> Optional[str]:
        """Present subnet mask as dotted text."""
    def GetIPGateway(self) -> Optional[str]:
        """Present gateway as dotted text."""
    def GetIP(self) -> Tuple[bool, int, int, int]:
        """(True, address, mask, gateway) as integers, 192.168.0.1 being 0xC0A80001; (False, 0,
        0, 0) for devices without network settings."""
    def ForceIP(self, address: str, mask: str, gateway: str, /) -> bool:
        """Gives a GigE Vision camera other network settings until it restarts; False when they
        make no sense or the camera refuses."""

class PyDevice:
    """One opened camera."""
    def GetInfo(self) -> Optional[PyDeviceInfo]:
        """What was known of the device when it was opened; None when it could not be opened."""
    def GetDisplayName(self) -> Optional[str]:
        """Name to show to people; None after Release."""
    def GetNumStreams(self) -> int:
        """Number of data streams; 0 when it could not be opened."""
    def GetCameraParameters(self) -> Optional[PyGenParams]:
        """The camera's features, the same object each time; None when there are none."""
    def Release(self) -> None:
        """Closes the device; its streams and parameters answer with codes from then on."""
    def IsValid(self) -> bool:
        """Whether the device is open."""
    def ReadMem(self, address: _Int, length: _Int, /) -> Tuple[int, Union[bytes, int]]:
        """Reads `length` bytes of the camera's memory: (0, bytes) or (code, bytes that mean
        nothing); (1, 0) when it was not tried."""
    def WriteMem(self, address: _Int, data: str, /) -> Tuple[int, int]:
        """Writes a str of single-byte characters: (code, bytes written); (1, 0) when it was not
        tried."""
    def GetStreamByIndex(self, index: _Int, /) -> Optional[PyDataStream]:
        """A data stream, counted from 0; None with -40121 after Release, None for a number that
        is too high."""
    def GetStreamByName(self, name: str, /) -> Optional[PyDataStream]:
        """A data stream by its identifier; None when there is none."""
    def SaveConfiguration(self, file_name: str, /) -> bool:
        """Writes the streamable features into a settings file, whole or not at all."""
    def LoadConfiguration(self, file_name: str, /) -> bool:
        """Loads a settings file: all of it or, when anything is refused, nothing."""
    def GetTransportParameters(self) -> Optional[PyGenParams]:
        """Features of the host's side (device, stream), the same object each time; None when
        there are none."""
    def RegisterEvent(
        self, event_id: _Int, callback: Callable[[bytearray, int, int], Any], /
    ) -> bool:
        """Calls `callback(data, size, key)` for each event with this identifier, on a thread of
        the SDK. One callable serves all events of a device: the last one given."""
    def UnRegisterEvent(self, event_id: _Int, ignored: Any, /) -> bool:
        """Ends the delivery of an event and forgets the callable; the second argument is not
        looked at."""
    def GetLastError(self) -> int:
        """Code of the last ReadMem, WriteMem, GetStreamByIndex or of opening; 0 at first."""

class PyDataStream:
    """One image data stream of an opened camera."""
    Flush_OutputDiscard: Final[int]
    Flush_AllToInput: Final[int]
    Flush_UnqueuedToInput: Final[int]
    Flush_AllDiscard: Final[int]
    def GetBufferSize(self) -> int:
        """Bytes of one frame with the present settings; after Release what was read last (325546
        if nothing)."""
    def GetBufferAlignment(self) -> int:
        """Alignment in bytes that the transport wants; 0 after Release."""
    def GetMinNumBuffers(self) -> int:
        """The least number of buffers for an acquisition; after Release what was read last (3 if
        nothing)."""
    def StartAcquisition(self) -> bool:
        """Starts the host's side, then the camera, until StopAcquisition."""
    def StopAcquisition(self, flags: _Int, /) -> bool:
        """Stops camera and host within 20 ms; 0 ordinarily, 1 aborts. Waiting GetBuffer calls
        end with -1012."""
    def CreateBuffer(self, size: _Int, /) -> Optional[PyBuffer]:
        """Announces one buffer of `size` bytes, to be queued; without SDK buffer (with a code
        printed) when it is refused."""
    def GetBufferQueueSize(self) -> int:
        """Number of buffers that AllocBufferQueue made; 0 after Release."""
    def QueueBuffer(self, buffer: PyBuffer, /) -> bool:
        """Gives a fetched (or created) buffer back to be filled again. Not after Release."""
    def GetBuffer(self, timeout_ms: _Int = ..., /) -> Optional[PyBuffer]:
        """Waits at most `timeout_ms` (default: for ever) for the next frame and returns the
        stream's buffer object with a copy of it; None with a code: -1011 time-out, -1012
        ended, -1010 device lost, -40001 frame without a size, and 0 at once where this object
        has not called AllocBufferQueue (another object of the same stream does not count)."""
    def FlushBuffers(self, mode: _Int, /) -> bool:
        """Moves buffers between the queues; one of the Flush constants."""
    def Release(self) -> None:
        """Stops, takes all buffers back and closes the stream."""
    def RevokeBuffer(self, buffer: PyBuffer, /) -> bool:
        """Takes a buffer made by CreateBuffer out of the stream; it must be in no queue."""
    def AllocBufferQueue(self, count: _Int, /) -> bool:
        """Allocates and queues `count` buffers of the present frame size, in place of earlier
        ones."""
    def ReleaseBufferQueue(self) -> bool:
        """Frees what AllocBufferQueue allocated; not while acquiring."""
    def CancelBuffer(self) -> bool:
        """Ends GetBuffer calls that wait now, from another thread."""
    def GetLastError(self) -> int:
        """Code of the last GetBuffer or of missing arguments; 0 at first."""

class PyBuffer:
    """One image buffer; GetBufferPtr holds a copy of its last frame."""
    def GetWidth(self) -> int:
        """Width of the frame in pixels."""
    def GetHeight(self) -> int:
        """Height of the frame in pixels."""
    def GetBufferPtr(self) -> Union[bytearray, Tuple[()]]:
        """A bytearray with the payload of the last good frame, copied once; an empty tuple
        before."""
    def GetImage(self) -> Optional[Any]:
        """An opaque handle of the SDK's image; None without a frame."""
    def IsIncomplete(self) -> bool:
        """Whether bytes of the frame are missing; True without a frame."""
    def GetPixelFormat(self) -> int:
        """PFNC code of the pixel format; 0 without a frame."""
    def GetFrameID(self) -> int:
        """The camera's number of the frame."""
    def GetXOffset(self) -> int:
        """Left edge of the region, in pixels."""
    def GetYOffset(self) -> int:
        """Upper edge of the region, in pixels."""
    def GetXPadding(self) -> int:
        """Bytes behind each row."""
    def GetYPadding(self) -> int:
        """Bytes behind the picture."""
    def GetTimestamp(self) -> int:
        """Time of the frame in nanoseconds where the transport tells its unit."""

class PyGenParams:
    """The parameters of a camera, its transport or an interface."""
    ParamUnknown: Final[int]
    ParamInt: Final[int]
    ParamFloat: Final[int]
    ParamString: Final[int]
    ParamEnum: Final[int]
    ParamEnumEntry: Final[int]
    ParamBoolean: Final[int]
    ParamCommand: Final[int]
    ParamCategory: Final[int]
    VisBeginner: Final[int]
    VisExpert: Final[int]
    VisGuru: Final[int]
    VisInvisible: Final[int]
    VisUndefined: Final[int]
    def GetCount(self) -> int:
        """Number of parameters, categories included."""
    def GetParamByIndex(self, index: _Int, /) -> _AnyParam:
        """A parameter by its place in the tree; a category as PyGenParamCategory, all else as
        PyGenParam. None with a code otherwise."""
    def GetRootCategory(self) -> Optional[PyGenParamCategory]:
        """The root of the tree; None with a code, printed, when there is none."""
    def GetParam(self, name: str, /) -> _AnyParam:
        """A parameter by name; None when there is none. The last error is left as it is."""
    def GetBoolean(self, name: str, /) -> Optional[PyGenParamBoolean]:
        """The object of a boolean parameter; None with a code otherwise."""
    def GetBooleanValue(self, name: str, /) -> _Read[bool]:
        """(True, value) or (False, None)."""
    def SetBooleanValue(self, name: str, value: object, /) -> bool:
        """Writes the truth value of any object."""
    def GetInt(self, name: str, /) -> Optional[PyGenParamInt]:
        """The object of an integer parameter; None with a code otherwise."""
    def SetIntegerValue(self, name: str, value: _Int, /) -> bool:
        """Writes int() of the value; range and increment are checked first."""
    def GetIntegerValue(self, name: str, /) -> _Read[int]:
        """(True, value) or (False, None)."""
    def GetFloat(self, name: str, /) -> Optional[PyGenParamFloat]:
        """The object of a float parameter; None with a code otherwise."""
    def SetFloatValue(self, name: str, value: _Float, /) -> bool:
        """Writes float() of the value; the range is checked first."""
    def GetFloatValue(self, name: str, /) -> _Read[float]:
        """(True, value) or (False, None)."""
    def GetCommand(self, name: str, /) -> Optional[PyGenParamCommand]:
        """The object of a command; None with a code, printed, otherwise."""
    def ExecuteCommand(self, name: str, /) -> bool:
        """Runs a command by name."""
    def IsCommandDone(self, name: str, /) -> _Read[bool]:
        """(True, whether the command has ended) or (False, None)."""
    def GetString(self, name: str, /) -> Optional[PyGenParamString]:
        """The object of a text parameter; None with a code otherwise."""
    def GetStringValue(self, name: str, /) -> _Read[str]:
        """(True, value) or (False, None)."""
    def SetStringValue(self, name: str, value: object, /) -> bool:
        """Writes str() of any object."""
    def GetEnum(self, name: str, /) -> Optional[PyGenParamEnum]:
        """The object of an enumeration; None with a code otherwise."""
    def GetEnumValueStr(self, name: str, /) -> _Read[str]:
        """(True, symbol of the present entry) or (False, None)."""
    def GetEnumValue(self, name: str, /) -> _Read[int]:
        """(True, number of the present entry) or (False, None)."""
    def SetEnumValue(self, name: str, value: _Int, /) -> bool:
        """Chooses an entry by its number."""
    def SetEnumValueStr(self, name: str, symbol: str, /) -> bool:
        """Chooses an entry by its symbol."""
    def GetNodeMap(self) -> _Read[PyGenParamNodeMap]:
        """(True, opaque handle) or (False, None)."""
    def GetLastError(self) -> int:
        """Code of the last call: -40205 unknown, -40203 another type, -40204 out of range,
        -40202 no access now, -40207 failed."""

class PyGenParam:
    """Any parameter, seen through what all have in common."""
    def GetNode(self) -> Optional[PyGenParamNode]:
        """The node behind the parameter."""
    def GetType(self) -> int:
        """Type code, one of the Param constants of PyGenParams."""
    def GetName(self) -> Optional[str]:
        """Name."""
    def GetToolTip(self) -> Optional[str]:
        """Short help."""
    def GetDescription(self) -> Optional[str]:
        """Long help."""
    def GetDisplayName(self) -> Optional[str]:
        """Name to show to people."""
    def GetVisibility(self) -> int:
        """0 beginner, 1 expert, 2 guru, 3 invisible, 4 undefined."""
    def IsVisible(self, level: _Int, /) -> bool:
        """Whether users of this visibility level see it."""
    def IsValueCached(self) -> bool:
        """Whether a read now would be answered without asking the camera."""
    def IsAvailable(self) -> bool:
        """Whether it means anything with the present settings."""
    def IsWritable(self) -> bool:
        """Whether it can be written now."""
    def IsReadable(self) -> bool:
        """Whether it can be read now."""
    def IsStreamable(self) -> bool:
        """Whether settings files hold it."""

class PyGenParamNode:
    """The node behind a parameter."""
    def IsFeature(self) -> bool:
        """Whether the node is reachable from the root category."""

class PyGenParamNodeMap:
    """Handle of the node map behind a parameter array."""

class PyGenParamCategory:
    """A folder of parameters."""
    def GetType(self) -> int:
        """Type code, one of the Param constants of PyGenParams."""
    def GetCount(self) -> int:
        """Number of direct children."""
    def GetParamByIndex(self, index: _Int, /) -> _AnyParam:
        """A child, counted from 0; None when there is none."""

class PyGenParamInt:
    """An integer parameter."""
    def GetType(self) -> int:
        """Type code, one of the Param constants of PyGenParams."""
    def GetValue(self) -> _Read[int]:
        """(True, value) or (False, None)."""
    def IsWritable(self) -> bool:
        """Whether it can be written now."""
    def IsReadable(self) -> bool:
        """Whether it can be read now."""
    def GetMin(self) -> _Read[int]:
        """(True, least value now) or (False, None)."""
    def GetMax(self) -> _Read[int]:
        """(True, greatest value now) or (False, None)."""
    def GetIncrement(self) -> _Read[int]:
        """(True, step between values) or (False, None)."""
    def SetValue(self, value: _Int, /) -> bool:
        """Writes a value; False when it is refused."""

class PyGenParamFloat:
    """A floating-point parameter."""
    def GetType(self) -> int:
        """Type code, one of the Param constants of PyGenParams."""
    def GetValue(self) -> _Read[float]:
        """(True, value) or (False, None)."""
    def IsWritable(self) -> bool:
        """Whether it can be written now."""
    def IsReadable(self) -> bool:
        """Whether it can be read now."""
    def GetMin(self) -> _Read[float]:
        """(True, least value now) or (False, None)."""
    def GetMax(self) -> _Read[float]:
        """(True, greatest value now) or (False, None)."""
    def GetUnit(self) -> _Read[str]:
        """(True, unit) or (False, None)."""
    def SetValue(self, value: _Float, /) -> bool:
        """Writes a value; False when it is refused."""

class PyGenParamBoolean:
    """A boolean parameter."""
    def GetType(self) -> int:
        """Type code, one of the Param constants of PyGenParams."""
    def GetValue(self) -> _Read[bool]:
        """(True, value) or (False, None)."""
    def IsWritable(self) -> bool:
        """Whether it can be written now."""
    def IsReadable(self) -> bool:
        """Whether it can be read now."""
    def SetValue(self, value: object, /) -> bool:
        """Writes the truth value of any object."""

class PyGenParamString:
    """A text parameter."""
    def GetType(self) -> int:
        """Type code, one of the Param constants of PyGenParams."""
    def IsWritable(self) -> bool:
        """Whether it can be written now."""
    def IsReadable(self) -> bool:
        """Whether it can be read now."""
    def GetValue(self) -> _Read[str]:
        """(True, value) or (False, None)."""
    def GetMaxLength(self) -> int:
        """Bytes that it takes at the most."""
    def SetValue(self, value: object, /) -> bool:
        """Writes str() of any object."""

class PyGenParamCommand:
    """A command parameter."""
    def Execute(self) -> bool:
        """Runs the command; True when the camera took it."""
    def IsDone(self) -> bool:
        """Whether the command has ended."""

class PyGenParamEnum:
    """An enumeration parameter."""
    def GetCount(self) -> _Read[int]:
        """(True, number of entries) or (False, None)."""
    def GetValue(self) -> _Read[int]:
        """(True, number of the present entry) or (False, None)."""
    def GetValueStr(self) -> _Read[str]:
        """(True, symbol of the present entry) or (False, None)."""
    def SetValue(self, value: _Int, /) -> Optional[bool]:
        """Chooses an entry by its number; None without an argument."""
    def SetValueStr(self, symbol: str, /) -> Optional[bool]:
        """Chooses an entry by its symbol; None without an argument."""
    def GetType(self) -> int:
        """Type code, one of the Param constants of PyGenParams."""
    def GetEnumEntryByIndex(self, index: _Int, /) -> Optional[PyGenParamEnumEntry]:
        """An entry, counted from 0; None when there is none."""

class PyGenParamEnumEntry:
    """One entry of an enumeration."""
    def GetValue(self) -> _Read[int]:
        """(True, the entry's number) or (False, None)."""
    def GetValueStr(self) -> _Read[str]:
        """(True, the entry's symbol) or (False, None)."""
    def GetType(self) -> int:
        """Type code, one of the Param constants of PyGenParams."""
    def IsAvailable(self) -> bool:
        """Whether the entry can be chosen now."""

def PyZelSystem() -> _PyZelSystem:
    """The camera system. Every call gives a new object for the same system."""
def PyZelCreateDevice(info: PyDeviceInfo = ..., /) -> PyDevice:
    """Opens a camera: the one of `info`, or the first real one, else the first simulated one. A
    camera that could not be opened answers IsValid() with False, and the module's
    GetLastError() has the code: -1004 open already, -1005 another process has it, -40006
    none."""
def PyCreateDisplay(*args: Any) -> None:
    """Takes anything, does nothing, returns None."""
def PyResetDisplay() -> None:
    """Does nothing, returns None."""
def PyShowImageOnDisplay(*args: Any) -> None:
    """Takes anything, does nothing, returns None."""
def PyCreateGenParamTreeViewForArray(*args: Any) -> None:
    """Takes anything, does nothing, returns None."""
def PyDestroyGenParamTreeView(*args: Any) -> None:
    """Takes anything, does nothing, returns None."""
def PyActionCamera(*args: Any) -> None:
    """Takes anything, does nothing, returns None."""
def PySaveImage(buffer: PyBuffer, file_name: str, /) -> bool:
    """Saves a fetched frame as a picture, whole or not at all; the extension tells the kind.
    False with a code or a printed line otherwise."""
def PyStartMovieRecord(
    buffer: PyBuffer, file_name: str, frames_per_second: _Float, compressor: str, /
) -> bool:
    """Starts the movie of the process for frames like this one; the extension tells the
    container. False with a code otherwise."""
def PySaveMovieFrame(buffer: PyBuffer, /) -> bool:
    """Adds a frame to the movie; False with a code otherwise (-40007: another size or kind)."""
def PyFinishRecord() -> bool:
    """Closes the movie; False with a code when a frame was lost or no movie was open."""
def PyGetVideoCompressors() -> Optional[List[str]]:
    """Names of the compressors that this machine has."""
def GetLastError() -> int:
    """Code of the last module function that keeps one; 0 at first."""
def ErrorCodeToString(code: SupportsInt, /) -> Optional[str]:
    """The sentence of a code, "Unknown code" for numbers that mean nothing. The text of -1011
    holds a byte that is no UTF-8: UnicodeDecodeError."""
