"""List the cameras."""
import zelcam

for info in zelcam.cameras():
    print(info.display_name, info.serial, info.interface, info.address or "-", info.access)
