"""dir(): what an interactive session completes, and what the standard library asks of an object."""

import collections.abc
import copy
import functools
import pickle

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


@pytest.mark.parametrize("name", ["system", "device", "stream", "interface", "fetched", "params"])
def test_what_the_interpreter_asks_of_any_object(thing, name):
    """Type checks of the standard library read __class__; names of ours come first all the same."""
    made = thing(name)
    assert made.__class__ is type(made)
    assert not isinstance(made, collections.abc.Sized) and isinstance(made, collections.abc.Hashable)
    chosen = functools.singledispatch(lambda other: "other")
    chosen.register(type(made), lambda own: "own")
    assert chosen(made) == "own" and chosen("text") == "other"
    for refused in (copy.copy, pickle.dumps):
        with pytest.raises(TypeError):
            refused(made)
    for missing in ("__dict__", "__len__", "____", "__", "_Release", "Release__"):
        assert not hasattr(made, missing)
