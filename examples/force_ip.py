"""Show the addresses of GigE Vision cameras; give one a new address until it is switched off.

    force_ip.py
    force_ip.py --serial 10000001 192.168.1.20 255.255.255.0 [gateway]

A camera that stands in another subnet than the network adapter is found but cannot be opened: this
is how it is brought over. To make the address last, write the GevPersistentIP features afterwards.
"""
from __future__ import annotations

import sys

from cameras import every_camera, find_camera, parser_of


def main() -> None:
    """Lists, or forces an address and lists that camera again."""
    parser = parser_of(__doc__)
    parser.add_argument("address", nargs="?")
    parser.add_argument("mask", nargs="?", default="255.255.255.0")
    parser.add_argument("gateway", nargs="?", default="0.0.0.0")
    arguments = parser.parse_args()
    if arguments.address:
        if arguments.serial is None:
            parser.error("--serial must say which camera")
        info = find_camera(arguments.serial)
        if info is None:
            sys.exit("no camera has the serial number " + arguments.serial)
        if not info.ForceIP(arguments.address, arguments.mask, arguments.gateway):
            sys.exit("the camera does not take this address")
    cameras = [info for info in every_camera() if info.GetIP()[0]]
    for info in cameras:
        print("%-12s %-24s address %-15s mask %-15s gateway %s" % (
            info.GetSerialNumber(), info.GetModel(), info.GetIPAddress(), info.GetIPMask(),
            info.GetIPGateway()))
    sys.exit(0 if cameras else "no camera with an address was found")


if __name__ == "__main__":
    main()
