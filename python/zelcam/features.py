"""The features of a camera: values by name, objects by attribute.

    camera.features["ExposureTime"] = 5000          # values, as a mapping
    camera.features.ExposureTime.max                # objects, as attributes
    camera.features.ExposureTime = 5000             # the same as the first line
"""
from __future__ import annotations

from typing import TYPE_CHECKING, Any, Dict, Iterator, List, Optional, Union

from .errors import FeatureAccess, FeatureType, UnknownFeature, feature_error

if TYPE_CHECKING:
    from libZelCameraApiPy import PyGenParams

Value = Union[int, float, bool, str]

INT, FLOAT, STRING, ENUM, BOOLEAN, COMMAND, CATEGORY = 1, 2, 3, 4, 6, 7, 8
_KINDS = {INT: "integer", FLOAT: "float", STRING: "string", ENUM: "enumeration",
          BOOLEAN: "boolean", COMMAND: "command", CATEGORY: "category"}
_VISIBILITIES = ("beginner", "expert", "guru", "invisible", "undefined")


def _optional(read: Any) -> Any:
    return read[1] if read[0] else None


class Feature:
    """One feature: value, range, unit, access. Asks the camera each time."""

    __slots__ = ("name", "_array", "_kind")

    def __init__(self, array: "PyGenParams", name: str) -> None:
        parameter = array.GetParam(name)
        if parameter is None:
            raise UnknownFeature("no feature %s" % name, -40205, name)
        self.name = name
        self._array = array
        self._kind = parameter.GetType()

    @property
    def kind(self) -> str:
        """integer, float, string, enumeration, boolean, command or category."""
        return _KINDS.get(self._kind, "unknown")

    @property
    def value(self) -> Value:
        """The present value; an enumeration's is the symbol of its entry."""
        array, name = self._array, self.name
        if self._kind == INT:
            read: Any = array.GetIntegerValue(name)
        elif self._kind == FLOAT:
            read = array.GetFloatValue(name)
        elif self._kind == ENUM:
            read = array.GetEnumValueStr(name)
        elif self._kind == BOOLEAN:
            read = array.GetBooleanValue(name)
        elif self._kind == STRING:
            read = array.GetStringValue(name)
        else:
            raise FeatureType("%s is a %s and has no value" % (name, self.kind), -40203, name)
        if not read[0]:
            raise feature_error("cannot read", array.GetLastError(), name)
        value: Value = read[1]
        return value

    @value.setter
    def value(self, value: Value) -> None:
        array, name = self._array, self.name
        if not _fits(self._kind, value):
            raise FeatureType("%s is a %s and takes no %s" % (
                name, self.kind, type(value).__name__), -40203, name)
        if self._kind == INT:
            done: Optional[bool] = array.SetIntegerValue(name, value)
        elif self._kind == FLOAT:
            done = array.SetFloatValue(name, value)
        elif self._kind == ENUM:
            done = (array.SetEnumValueStr(name, value) if isinstance(value, str)
                    else array.SetEnumValue(name, value))
        elif self._kind == BOOLEAN:
            done = array.SetBooleanValue(name, value)
        else:
            done = array.SetStringValue(name, value)
        if not done:
            raise feature_error("cannot set %r:" % (value,), array.GetLastError(), name)

    @property
    def min(self) -> Union[int, float, None]:
        """The least value it takes now; None where it has no range."""
        return self._limit("GetMin")

    @property
    def max(self) -> Union[int, float, None]:
        """The greatest value it takes now; None where it has no range."""
        return self._limit("GetMax")

    @property
    def increment(self) -> Optional[int]:
        """The step between integer values; None for all other kinds."""
        found = self._array.GetInt(self.name) if self._kind == INT else None
        return _optional(found.GetIncrement()) if found is not None else None

    @property
    def unit(self) -> str:
        """The unit of a float, or an empty text."""
        found = self._array.GetFloat(self.name) if self._kind == FLOAT else None
        return (_optional(found.GetUnit()) or "") if found is not None else ""

    @property
    def entries(self) -> List[str]:
        """The symbols of an enumeration that can be chosen now; empty for all other kinds."""
        found = self._array.GetEnum(self.name) if self._kind == ENUM else None
        if found is None:
            return []
        entries: Iterator[Any] = (found.GetEnumEntryByIndex(i) for i in range(_optional(found.GetCount()) or 0))
        symbols: List[str] = [_optional(entry.GetValueStr()) for entry in entries
                              if entry is not None and entry.IsAvailable()]
        return symbols

    @property
    def readable(self) -> bool:
        """Whether the value can be read now."""
        return self._ask("IsReadable")

    @property
    def writable(self) -> bool:
        """Whether the value can be written, or the command executed, now."""
        return self._ask("IsWritable")

    @property
    def available(self) -> bool:
        """Whether the feature means anything with the present settings."""
        return self._ask("IsAvailable")

    @property
    def visibility(self) -> str:
        """beginner, expert, guru, invisible or undefined."""
        found: Any = self._array.GetParam(self.name)
        if self._kind == CATEGORY or found is None:
            return "beginner"
        return _VISIBILITIES[min(found.GetVisibility(), 4)]

    @property
    def description(self) -> str:
        """What the camera's maker says of the feature."""
        found: Any = self._array.GetParam(self.name)
        if self._kind == CATEGORY or found is None:
            return ""
        return found.GetDescription() or found.GetToolTip() or ""

    def execute(self) -> None:
        """Runs a command; returns when the camera took it."""
        if self._kind != COMMAND:
            raise FeatureType("%s is no command but a %s" % (self.name, self.kind), -40203,
                              self.name)
        if not self._array.ExecuteCommand(self.name):
            raise feature_error("cannot execute", self._array.GetLastError(), self.name)

    @property
    def done(self) -> bool:
        """Whether a command that was executed has ended."""
        read = self._array.IsCommandDone(self.name)
        if not read[0]:
            raise feature_error("cannot ask", self._array.GetLastError(), self.name)
        return bool(read[1])

    def __call__(self) -> None:
        """Runs a command: camera.features.DeviceReset()."""
        self.execute()

    def _limit(self, question: str) -> Union[int, float, None]:
        found: Any = None
        if self._kind == INT:
            found = self._array.GetInt(self.name)
        elif self._kind == FLOAT:
            found = self._array.GetFloat(self.name)
        limit: Union[int, float, None] = None
        if found is not None:
            limit = _optional(getattr(found, question)())
        return limit

    def _ask(self, question: str) -> bool:
        found: Any = self._array.GetParam(self.name) if self._kind != CATEGORY else None
        return bool(getattr(found, question)()) if found is not None else self._kind == CATEGORY

    def __repr__(self) -> str:
        try:
            shown = repr(self.value)
        except (FeatureAccess, FeatureType):
            shown = "-"
        return "<%s %s = %s%s>" % (self.kind, self.name, shown, self.unit and " " + self.unit)


def _fits(kind: int, value: object) -> bool:
    """The SDK converts as int() and str() do; here 5.7 and "12" are no integers."""
    if kind == BOOLEAN:
        return isinstance(value, (bool, int))
    if isinstance(value, bool):
        return False
    if kind == INT:
        return isinstance(value, int) or hasattr(value, "__index__")
    if kind == FLOAT:
        return not isinstance(value, str) and hasattr(value, "__float__")
    if kind == ENUM:
        return isinstance(value, (int, str))
    return kind == STRING and isinstance(value, str)


class Features:
    """The features of one module, a mapping of names to values. From any thread."""

    __slots__ = ("_array", "_known")

    _array: "PyGenParams"
    _known: Dict[str, Feature]

    def __init__(self, array: "PyGenParams") -> None:
        object.__setattr__(self, "_array", array)
        object.__setattr__(self, "_known", {})

    def feature(self, name: str) -> Feature:
        """The object of a feature; UnknownFeature when the module has none of that name."""
        found = self._known.get(name)
        if found is None:
            found = self._known[name] = Feature(self._array, name)
        return found

    def __getitem__(self, name: str) -> Value:
        return self.feature(name).value

    def __setitem__(self, name: str, value: Value) -> None:
        self.feature(name).value = value

    def __getattr__(self, name: str) -> Feature:
        if name.startswith("_"):
            raise AttributeError(name)
        return self.feature(name)

    def __setattr__(self, name: str, value: Value) -> None:
        self.feature(name).value = value

    def __contains__(self, name: object) -> bool:
        return isinstance(name, str) and self._array.GetParam(name) is not None

    def __iter__(self) -> Iterator[str]:
        for index in range(self._array.GetCount()):
            parameter: Any = self._array.GetParamByIndex(index)
            name = parameter.GetName() if hasattr(parameter, "GetName") else None
            if name:
                yield name

    def __len__(self) -> int:
        return sum(1 for _ in self)

    def __dir__(self) -> List[str]:
        return [*object.__dir__(self), *self]

    def get(self, name: str, default: Optional[Value] = None) -> Optional[Value]:
        """The value, or `default` when the feature is missing or cannot be read now."""
        try:
            return self[name]
        except (UnknownFeature, FeatureAccess):
            return default

    def update(self, values: Any = (), **named: Value) -> None:
        """Sets several features in the order in which they are given."""
        pairs = values.items() if hasattr(values, "items") else values
        for name, value in [*pairs, *named.items()]:
            self[name] = value
