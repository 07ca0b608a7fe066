"""The features of a camera: values by name, objects by attribute.

    camera.features["ExposureTime"] = 5000          # values, as a mapping
    camera.features.ExposureTime.max                # objects, as attributes
    camera.features.ExposureTime = 5000             # the same as the first line
"""
from __future__ import annotations

from typing import TYPE_CHECKING, Any, Dict, Iterator, List, Optional, Union, cast

from .errors import FeatureAccess, FeatureType, UnknownFeature, feature_error

if TYPE_CHECKING:
    from libZelCameraApiPy import PyGenParams

Value = Union[int, float, bool, str]

INT, FLOAT, STRING, ENUM, BOOLEAN, COMMAND, CATEGORY = 1, 2, 3, 4, 6, 7, 8
_KINDS = {INT: "integer", FLOAT: "float", STRING: "string", ENUM: "enumeration",
          BOOLEAN: "boolean", COMMAND: "command", CATEGORY: "category"}
_READ = {INT: "GetIntegerValue", FLOAT: "GetFloatValue", STRING: "GetStringValue",
         ENUM: "GetEnumValueStr", BOOLEAN: "GetBooleanValue"}
_WRITE = {kind: "Set" + method[3:] for kind, method in _READ.items()}
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
        if self._kind not in _READ:
            raise FeatureType("%s is a %s and has no value" % (self.name, self.kind), -40203,
                              self.name)
        return cast(Value, self._told(_READ[self._kind], "cannot read"))

    @value.setter
    def value(self, value: Value) -> None:
        name = self.name
        if not _fits(self._kind, value):
            raise FeatureType("%s is a %s and takes no %s" % (
                name, self.kind, type(value).__name__), -40203, name)
        method = "SetEnumValue" if self._kind == ENUM and isinstance(value, int) \
            else _WRITE[self._kind]
        if not getattr(self._array, method)(name, value):
            raise feature_error("cannot set %r:" % (value,), self._array.GetLastError(), name)

    @property
    def min(self) -> Union[int, float, None]:
        """The least value it takes now; None where it has no range."""
        return cast(Union[int, float, None], self._object("GetMin", INT, FLOAT))

    @property
    def max(self) -> Union[int, float, None]:
        """The greatest value it takes now; None where it has no range."""
        return cast(Union[int, float, None], self._object("GetMax", INT, FLOAT))

    @property
    def increment(self) -> Optional[int]:
        """The step between integer values; None for all other kinds."""
        return cast(Optional[int], self._object("GetIncrement", INT))

    @property
    def unit(self) -> str:
        """The unit of a float, or an empty text."""
        return self._object("GetUnit", FLOAT) or ""

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
        return bool(self._told("IsCommandDone", "cannot ask"))

    def __call__(self) -> None:
        """Runs a command: camera.features.DeviceReset()."""
        self.execute()

    def _told(self, method: str, refusal: str) -> Any:
        """What the array answers about the feature; a refusal is raised."""
        read: Any = getattr(self._array, method)(self.name)
        if not read[0]:
            raise feature_error(refusal, self._array.GetLastError(), self.name)
        return read[1]

    def _object(self, question: str, *kinds: int) -> Any:
        """What the feature's own object answers; None for all but these kinds, INT or FLOAT."""
        if self._kind not in kinds:
            return None
        array = self._array
        found: Any = (array.GetInt if self._kind == INT else array.GetFloat)(self.name)
        return _optional(getattr(found, question)()) if found is not None else None

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
