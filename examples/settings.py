"""Save the settings of a camera to a file, change them, and bring them back.

    settings.py [settings.txt]
"""
import sys

import libZelCameraApiPy as zel

NAMES = ("Width", "Height", "ExposureTime", "Gain")


def show(camera, title):
    """Prints a few settings."""
    values = [camera.GetFloatValue(name)[1] if camera.GetParam(name).GetType() == camera.ParamFloat
              else camera.GetIntegerValue(name)[1] for name in NAMES]
    print("%-9s" % title, "  ".join("%s %g" % pair for pair in zip(NAMES, values)))


def main():
    """Saves, changes, restores; then opens the camera from the file alone."""
    file_name = sys.argv[1] if len(sys.argv) > 1 else "settings.txt"
    device = zel.PyZelCreateDevice()
    if not device.IsValid():
        sys.exit("no camera: " + zel.ErrorCodeToString(zel.GetLastError()))
    camera = device.GetCameraParameters()
    show(camera, "before")
    if not device.SaveConfiguration(file_name):
        sys.exit("%s cannot be written" % file_name)
    camera.SetIntegerValue("Height", camera.GetInt("Height").GetMin()[1])
    camera.SetFloatValue("ExposureTime", 1234.0)
    camera.SetFloatValue("Gain", 6.0)
    show(camera, "changed")
    if not device.LoadConfiguration(file_name):
        sys.exit("%s cannot be loaded" % file_name)
    show(camera, "restored")
    device.Release()

    again = zel.PyZelSystem().CreateDeviceFromConfig(file_name)
    if again is None:
        sys.exit("the camera that %s names cannot be opened" % file_name)
    show(again.GetCameraParameters(), "reopened")
    again.Release()


if __name__ == "__main__":
    main()
