"""Print the tree of features of a camera: type, access, value, range and unit of each."""
from __future__ import annotations

import sys
from typing import Any, Dict, List, Optional, Tuple

import libZelCameraApiPy as zel
from cameras import camera_of, info_of, open_camera, parser_of

TYPES = {1: "Integer", 2: "Float", 3: "String", 4: "Enumeration", 5: "EnumEntry", 6: "Boolean",
         7: "Command", 8: "Category"}
# A category does not tell its name: those of the standard are looked up and recognised.
CATEGORIES = (
    "DeviceControl", "ImageFormatControl", "AcquisitionControl", "AnalogControl", "LUTControl",
    "ColorTransformationControl", "DigitalIOControl", "CounterAndTimerControl", "EncoderControl",
    "LogicBlockControl", "SoftwareSignalControl", "ActionControl", "EventControl",
    "EventExposureEndData", "EventFrameStartData", "EventFrameTriggerData", "EventFrameLostData",
    "EventTestData", "UserSetControl", "SequencerControl", "FileAccessControl", "ChunkDataControl",
    "TestControl", "TransportLayerControl", "GigEVision", "SimulatorFaultControl",
    "InterfaceInformation", "DeviceEnumeration", "SystemInformation", "InterfaceEnumeration",
    "DeviceInformation", "StreamEnumeration", "StreamInformation", "BufferHandlingControl",
    "StreamStatistics")
# A wider range than this is that of the type, not of the feature.
NO_LIMIT = 1e18
LEVELS = ("beginner", "expert", "guru", "invisible")
Row = Tuple[int, Optional[str], Any]  # depth, name of a category, or a parameter


def access(parameter: zel.PyGenParam) -> str:
    """RW, RO, WO or -- as the feature is now."""
    if not parameter.IsAvailable():
        return "--"
    return {(True, True): "RW", (True, False): "RO", (False, True): "WO"}.get(
        (parameter.IsReadable(), parameter.IsWritable()), "--")


def number_text(parameters: zel.PyGenParams, name: str, kind: int) -> str:
    """Value, range and unit of an integer or a float."""
    typed: Any = parameters.GetInt(name) if kind == parameters.ParamInt else parameters.GetFloat(name)
    pattern = "%d" if kind == parameters.ParamInt else "%.6g"
    parts = [pattern % typed.GetValue()[1]]
    low, high = typed.GetMin(), typed.GetMax()
    if low[0] and high[0] and high[1] - low[1] < NO_LIMIT:
        limits = "[" + pattern % low[1] + " .. " + pattern % high[1]
        step = typed.GetIncrement() if kind == parameters.ParamInt else (False, None)
        parts.append(limits + (" step %d]" % step[1] if step[0] and step[1] != 1 else "]"))
    if kind == parameters.ParamFloat and typed.GetUnit()[0]:
        parts.append(typed.GetUnit()[1])
    return " ".join(part for part in parts if part)


def enumeration_text(parameters: zel.PyGenParams, name: str) -> str:
    """Current entry and the entries that can be chosen now; others in parentheses."""
    typed: Any = parameters.GetEnum(name)
    entries = [typed.GetEnumEntryByIndex(index) for index in range(typed.GetCount()[1] or 0)]
    names = [entry.GetValueStr()[1] if entry.IsAvailable() else "(%s)" % entry.GetValueStr()[1]
             for entry in entries]
    return "%s of %s" % (typed.GetValueStr()[1], " ".join(names))


def value_text(parameters: zel.PyGenParams, parameter: zel.PyGenParam) -> str:
    """What stands behind the equals sign."""
    kind, name = parameter.GetType(), parameter.GetName() or ""
    if kind == parameters.ParamCommand or not parameter.IsReadable():
        return ""
    if kind in (parameters.ParamInt, parameters.ParamFloat):
        return number_text(parameters, name, kind)
    if kind == parameters.ParamEnum:
        return enumeration_text(parameters, name)
    if kind == parameters.ParamBoolean:
        return str(parameters.GetBooleanValue(name)[1])
    if kind == parameters.ParamString:
        return repr(parameters.GetStringValue(name)[1])
    return ""


def signature(category: zel.PyGenParamCategory) -> Tuple[Any, ...]:
    """What tells one category from another: the names of its parameters (a category has none)."""
    children: List[Any] = [category.GetParamByIndex(index) for index in range(category.GetCount())]
    return tuple(child.GetName() if hasattr(child, "GetName") else "+" for child in children)


def standard_categories(parameters: zel.PyGenParams) -> Dict[Tuple[Any, ...], str]:
    """Names of the standard categories that the array knows, by their signature."""
    known = {}
    for name in CATEGORIES:
        category: Any = parameters.GetParam(name)
        if category is not None and category.GetType() == parameters.ParamCategory:
            known[signature(category)] = name
    return known


def walk(parameters: zel.PyGenParams, category: zel.PyGenParamCategory, level: int, depth: int,
         names: Dict[Tuple[Any, ...], str], rows: List[Row]) -> None:
    """Collects what is visible at the level: (depth, category name or None, parameter or None)."""
    for index in range(category.GetCount()):
        child: Any = category.GetParamByIndex(index)
        if child is None:
            continue
        if child.GetType() == parameters.ParamCategory:
            place = len(rows)
            walk(parameters, child, level, depth + 1, names, rows)
            if len(rows) > place:
                rows.insert(place, (depth, names.get(signature(child), "(category)"), None))
        elif child.IsVisible(level):
            rows.append((depth, None, child))


def main() -> None:
    """Opens the default camera and prints its tree."""
    parser = parser_of(__doc__)
    parser.add_argument("--visibility", choices=LEVELS, default="beginner")
    which = parser.add_mutually_exclusive_group()
    which.add_argument("--transport", action="store_true", help="the features of the transport")
    which.add_argument("--interface", action="store_true", help="the features of the interface")
    arguments = parser.parse_args()

    device = open_camera(arguments.serial)
    print(device.GetDisplayName())
    parameters: Optional[zel.PyGenParams] = camera_of(device)
    if arguments.transport:
        parameters = device.GetTransportParameters()
    elif arguments.interface:
        parameters = info_of(device).GetInterface().GetParameters()
    root = parameters.GetRootCategory() if parameters is not None else None
    if parameters is None or root is None:
        sys.exit("this module has no features")
    rows: List[Row] = []
    walk(parameters, root, LEVELS.index(arguments.visibility), 1,
         standard_categories(parameters), rows)
    for depth, category, parameter in rows:
        if parameter is None:
            print("%s%s" % ("  " * depth, category))
            continue
        print("%s%-*s %-11s %s  %s" % (
            "  " * depth, 44 - 2 * depth, parameter.GetName(), TYPES.get(parameter.GetType(), "?"),
            access(parameter), value_text(parameters, parameter)))
    device.Release()


if __name__ == "__main__":
    main()
