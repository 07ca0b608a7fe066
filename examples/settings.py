"""Save the settings of a camera to a file, change them, and bring them back."""
import sys

import libZelCameraApiPy as zel
from cameras import open_camera, parser_of

# Of these the ones that the camera has are shown and changed.
NAMES = ("Width", "Height", "ExposureTime", "Gain")


def numbers(camera):
    """The settings that the camera has, as (name, number object)."""
    found = []
    for name in NAMES:
        parameter = camera.GetParam(name)
        if parameter is not None and parameter.IsReadable():
            get = camera.GetFloat if parameter.GetType() == camera.ParamFloat else camera.GetInt
            found.append((name, get(name)))
    return found


def show(camera, title):
    """Prints a few settings."""
    print("%-9s" % title, "  ".join("%s %g" % (name, number.GetValue()[1])
                                    for name, number in numbers(camera)))


def main():
    """Saves, changes, restores; then opens the camera from the file alone."""
    parser = parser_of(__doc__)
    parser.add_argument("file", nargs="?", default="settings.txt")
    arguments = parser.parse_args()
    device = open_camera(arguments.serial)
    camera = device.GetCameraParameters()
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
    show(again.GetCameraParameters(), "reopened")
    again.Release()


if __name__ == "__main__":
    main()
