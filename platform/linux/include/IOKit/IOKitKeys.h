#pragma once

#define kIOServicePlane "IOService"
#define kIOServiceClass "IOService"

#define kIOClassKey "IOClass"

// Keys of matching dictionaries. Any other key names a property that the service must have with that value.
#define kIOProviderClassKey "IOProviderClass"
#define kIONameMatchKey "IONameMatch"
#define kIOPropertyMatchKey "IOPropertyMatch"

// Types of IOServiceAddMatchingNotification.
#define kIOPublishNotification "IOServicePublish"
#define kIOFirstPublishNotification "IOServiceFirstPublish"
#define kIOMatchedNotification "IOServiceMatched"
#define kIOFirstMatchNotification "IOServiceFirstMatch"
#define kIOTerminatedNotification "IOServiceTerminate"

// Type of IOServiceAddInterestNotification.
#define kIOGeneralInterest "IOGeneralInterest"
