#pragma once

#define kIOSerialBSDServiceValue "IOSerialBSDClient"

#define kIOTTYDeviceKey "IOTTYDevice"
#define kIOCalloutDeviceKey "IOCalloutDevice"
#define kIODialinDeviceKey "IODialinDevice"
