"""Give a GigE Vision camera an address until it restarts."""
import zelcam

info = next(info for info in zelcam.cameras() if info.address)
info.force_ip(info.address or "", "255.255.255.0")
print(info.display_name, info.address)
