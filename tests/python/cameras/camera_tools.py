"""What the tests of cameras share: walking over features, and bringing a camera back to its start."""

READERS = {1: "GetIntegerValue", 2: "GetFloatValue", 3: "GetStringValue", 4: "GetEnumValueStr",
           6: "GetBooleanValue"}
WRITERS = {1: "SetIntegerValue", 2: "SetFloatValue", 3: "SetStringValue", 4: "SetEnumValueStr",
           6: "SetBooleanValue"}
# A camera without user sets gets back what it had when it was first seen, by serial number.
_first_seen = {}
# Faster than the test camera is by itself; it has the feature, though in no category.
FRAME_RATE = 200.0


def features(parameters):
    """(name, PyGenParam) of everything but categories, in the order of the array."""
    for index in range(parameters.GetCount()):
        parameter = parameters.GetParamByIndex(index)
        if parameter.GetType() != parameters.ParamCategory:
            yield parameter.GetName(), parameter


def settable(camera, kind):
    """Writable features of a type that do no harm when written."""
    return [name for name, parameter in features(camera)
            if parameter.GetType() == kind and parameter.IsWritable()
            and not name.startswith(("Simulator", "GevHeartbeat", "TLParamsLocked"))]


def values(camera):
    """Present values of all writable features."""
    return {(name, kind): getattr(camera, READERS[kind])(name)[1]
            for kind in READERS for name in settable(camera, kind)}


def reset(camera):
    """The camera's default settings."""
    if camera.GetParam("UserSetLoad") is not None:
        assert camera.SetEnumValueStr("UserSetSelector", "Default")
        assert camera.ExecuteCommand("UserSetLoad")
        return
    key = camera.GetStringValue("DeviceID")[1]
    kept = _first_seen.setdefault(key, values(camera))
    for (name, kind), value in kept.items():
        assert getattr(camera, WRITERS[kind])(name, value), (name, value, camera.GetLastError())
    assert camera.SetFloatValue("AcquisitionFrameRate", FRAME_RATE)


def stored_values(camera):
    """Values of the features that belong into a file of settings, selectors and all; what the
    camera sets by itself (a gain while it is automatic) is locked and does not."""
    kept = {}
    marked = any(parameter.IsStreamable() for _, parameter in features(camera))
    for name, parameter in features(camera):
        wanted = parameter.IsWritable() and (parameter.IsStreamable() or not marked)
        if wanted and parameter.GetType() in READERS and parameter.IsReadable():
            kept[name] = getattr(camera, READERS[parameter.GetType()])(name)[1]
    return kept


def shake(camera, dice, steps=25):
    """Brings the camera into a random reachable state. Nothing becomes automatic: what the camera
    sets by itself is in no file, and may stand in the way of what is."""
    usable = [name for name in stored_values(camera) if not name.endswith("Auto")]
    for name in dice.choices(usable, k=steps):
        kind = camera.GetParam(name).GetType()
        if kind == 1:
            feature = camera.GetInt(name)
            low, high, step = (feature.GetMin()[1], feature.GetMax()[1], feature.GetIncrement()[1])
            if None not in (low, high, step):
                camera.SetIntegerValue(name, low + dice.randint(0, max(0, high - low) // step) * step)
        elif kind == 2:
            feature = camera.GetFloat(name)
            if feature.GetMin()[0]:
                camera.SetFloatValue(name, dice.uniform(feature.GetMin()[1], feature.GetMax()[1]))
        elif kind == 4:
            feature = camera.GetEnum(name)
            entry = feature.GetEnumEntryByIndex(dice.randrange(feature.GetCount()[1]))
            camera.SetEnumValueStr(name, entry.GetValueStr()[1])
        elif kind == 6:
            camera.SetBooleanValue(name, dice.random() < 0.5)
