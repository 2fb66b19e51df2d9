# Does the same as bare-launcher.c until it is armed, with pyudev.
import sys
import pyudev

context = pyudev.Context()
monitor = pyudev.Monitor.from_netlink(context)
monitor.filter_by("usb", "usb_device")
monitor.start()
wanted = (sys.argv[1].encode(), sys.argv[2].encode())
for device in context.list_devices(subsystem="usb", DEVTYPE="usb_device"):
    if (device.attributes.get("idVendor"), device.attributes.get("idProduct")) == wanted:
        print("present")
for device in iter(monitor.poll, None):
    if device.action == "add":
        print(device.sys_path)
