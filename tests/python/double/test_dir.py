"""dir(): what an interactive session completes."""

import pytest


def test_every_listed_name_answers(system, device, stream):
    interface = system.GetInterfaceList()[0]
    parameters = device.GetCameraParameters()
    for thing, some in ((system, {"GetInterfaceList"}), (device, {"ReadMem", "Release"}),
                        (stream, {"GetBuffer", "Flush_AllDiscard"}),
                        (interface, {"GetType", "AllInterfaces"}),
                        (parameters, {"GetInt", "ParamCategory", "VisGuru"})):
        names = dir(thing)
        assert some <= set(names) and len(names) == len(set(names))
        for name in names:
            assert isinstance(getattr(thing, name), int) or callable(getattr(thing, name))


def test_listing_a_stranger(system, device):
    with pytest.raises(TypeError):
        type(device).__dir__(system)
