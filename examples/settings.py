"""Save the settings of a camera to a file, change them, and bring them back."""
from __future__ import annotations

import sys
from typing import Any, List, Tuple

import libZelCameraApiPy as zel
from cameras import camera_of, open_camera, parser_of

# Of these the ones that the camera has are shown and changed.
NAMES = ("Width", "Height", "ExposureTime", "Gain")


def numbers(camera: zel.PyGenParams) -> List[Tuple[str, Any]]:
    """The settings that the camera has, as (name, number object)."""
    found: List[Tuple[str, Any]] = []
    for name in NAMES:
        parameter = camera.GetParam(name)
        if parameter is None:
            continue
        number: Any = (camera.GetFloat(name) if parameter.GetType() == camera.ParamFloat
                       else camera.GetInt(name))
        if number is not None and number.IsReadable():
            found.append((name, number))
    return found


def show(camera: zel.PyGenParams, title: str) -> None:
    """Prints a few settings."""
    print("%-9s" % title, "  ".join("%s %g" % (name, number.GetValue()[1])
                                    for name, number in numbers(camera)))


def main() -> None:
    """Saves, changes, restores; then opens the camera from the file alone."""
    parser = parser_of(__doc__)
    parser.add_argument("file", nargs="?", default="settings.txt")
    arguments = parser.parse_args()
    device = open_camera(arguments.serial)
    camera = camera_of(device)
    show(camera, "before")
    if not device.SaveConfiguration(arguments.file):
        sys.exit("%s cannot be written" % arguments.file)
    for _, number in numbers(camera):
        number.SetValue(number.GetMin()[1])
    show(camera, "changed")
    if not device.LoadConfiguration(arguments.file):
        sys.exit("%s cannot be loaded" % arguments.file)
    show(camera, "restored")
    device.Release()

    again = zel.PyZelSystem().CreateDeviceFromConfig(arguments.file)
    if again is None:
        sys.exit("the camera that %s names cannot be opened" % arguments.file)
    show(camera_of(again), "reopened")
    again.Release()


if __name__ == "__main__":
    main()
