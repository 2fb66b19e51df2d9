#include "DevicesByHand.h"

#include <gmock/gmock.h>

using namespace LinuxPlatform;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

class Matching : public DevicesByHandTest {
protected:
    static CFMutableDictionaryRef WithNumber(CFStringRef key, CFNumberType type, const void* value) {
        CFMutableDictionaryRef matching = Empty();
        CFNumberRef number = CFNumberCreate(kCFAllocatorDefault, type, value);
        CFDictionarySetValue(matching, key, number);
        CFRelease(number);
        return matching;
    }
    static CFMutableDictionaryRef WithValue(CFStringRef key, CFTypeRef value) {
        CFMutableDictionaryRef matching = Empty();
        CFDictionarySetValue(matching, key, value);
        return matching;
    }
    /// Matches USB devices that have these properties. Consumes the dictionary.
    static CFMutableDictionaryRef WithNested(CFMutableDictionaryRef nested) {
        CFMutableDictionaryRef matching = IOServiceMatching("IOUSBDevice");
        CFDictionarySetValue(matching, CFSTR("IOPropertyMatch"), nested);
        CFRelease(nested);
        return matching;
    }
    static CFMutableDictionaryRef Empty() {
        return CFDictionaryCreateMutable(kCFAllocatorDefault, 0, &kCFTypeDictionaryKeyCallBacks,
                                         &kCFTypeDictionaryValueCallBacks);
    }
};

} // namespace

TEST_F(Matching, AClassMatchesItselfAndWhatDerivesFromIt) {
    PlugInComposite("/1-1", 1, 2);
    EXPECT_THAT(NamesOf(IOServiceMatching("IOUSBDevice")), ElementsAre("Modem"));
    EXPECT_THAT(NamesOf(IOServiceMatching("IOUSBNub")),
                ElementsAre("Modem", "IOUSBInterface", "IOUSBInterface"));
    EXPECT_THAT(
        NamesOf(IOServiceMatching("IOService")),
        ElementsAre("IONetworkStack", "Modem", "IOUSBInterface", "ttyUSB0", "IOUSBInterface", "wwan0"));
    EXPECT_THAT(NamesOf(IOServiceMatching("NoSuchClass")), IsEmpty());
}

TEST_F(Matching, TheDictionaryNamesTheClass) {
    CFMutableDictionaryRef matching = IOServiceMatching("IOUSBDevice");
    EXPECT_EQ(CFGetRetainCount(matching), 1);
    EXPECT_EQ(CFDictionaryGetCount(matching), 1);
    EXPECT_TRUE(CFEqual(CFDictionaryGetValue(matching, CFSTR("IOProviderClass")), CFSTR("IOUSBDevice")));
    CFRelease(matching);
    EXPECT_EQ(IOServiceMatching(nullptr), nullptr);
}

TEST_F(Matching, IdsWithoutAClassMatchTheDeviceAndItsInterfaces) {
    PlugInComposite("/1-1", 0x12D1, 0x1001);
    PlugInComposite("/1-2", 0x12D1, 0x1003);
    EXPECT_THAT(NamesOf(MatchingIds(0x12D1, 0x1001)),
                ElementsAre("Modem", "IOUSBInterface", "IOUSBInterface"));
    EXPECT_THAT(NamesOf(MatchingIds(0x12D1, 0x1002)), IsEmpty());
}

TEST_F(Matching, AmongDevicesOfOneVendorTheProductTellsThemApartAlsoWhenOneHasLeft) {
    PlugInComposite("/1-1", 0x12D1, 0x1001);
    PlugInComposite("/1-2", 0x12D1, 0x1446);
    EXPECT_EQ(NamesOf(MatchingIds(0x12D1, 0x1001)).size(), 3u);
    EXPECT_EQ(NamesOf(MatchingIds(0x12D1, 0x1446)).size(), 3u);
    EXPECT_THAT(NamesOf(MatchingIds(0x12D2, 0x1446)), IsEmpty());
    deviceLeft("/1-1");
    EXPECT_THAT(NamesOf(MatchingIds(0x12D1, 0x1001)), IsEmpty());
    EXPECT_EQ(NamesOf(MatchingIds(0x12D1, 0x1446)).size(), 3u);
}

TEST_F(Matching, AClassAndIdsMustBothFit) {
    PlugInComposite("/1-1", 1, 2);
    CFMutableDictionaryRef matching = MatchingIds(1, 2);
    CFDictionarySetValue(matching, CFSTR("IOProviderClass"), CFSTR("IOUSBInterface"));
    EXPECT_THAT(NamesOf(matching), ElementsAre("IOUSBInterface", "IOUSBInterface"));
}

TEST_F(Matching, ANumberMatchesInAnyWidth) {
    deviceArrived(UsbDevice("/1-1", 0x12D1, 2));
    const SInt64 wide = 0x12D1;
    const short narrow = 0x12D1;
    const double real = 0x12D1;
    const double fraction = 0x12D1 + 0.5;
    const SInt64 huge = (SInt64{1} << 32) + 0x12D1;
    const SInt64 low = -(SInt64{1} << 32) + 0x12D1;
    EXPECT_THAT(NamesOf(WithNumber(CFSTR("idVendor"), kCFNumberSInt64Type, &wide)), ElementsAre("Modem"));
    EXPECT_THAT(NamesOf(WithNumber(CFSTR("idVendor"), kCFNumberShortType, &narrow)), ElementsAre("Modem"));
    EXPECT_THAT(NamesOf(WithNumber(CFSTR("idVendor"), kCFNumberDoubleType, &real)), ElementsAre("Modem"));
    EXPECT_THAT(NamesOf(WithNumber(CFSTR("idVendor"), kCFNumberDoubleType, &fraction)), IsEmpty());
    EXPECT_THAT(NamesOf(WithNumber(CFSTR("idVendor"), kCFNumberSInt64Type, &huge)), IsEmpty());
    EXPECT_THAT(NamesOf(WithNumber(CFSTR("idVendor"), kCFNumberSInt64Type, &low)), IsEmpty());
}

TEST_F(Matching, APropertyOfAnotherTypeDoesNotMatch) {
    deviceArrived(UsbDevice("/1-1", 1, 2));
    EXPECT_THAT(NamesOf(WithValue(CFSTR("idVendor"), CFSTR("1"))), IsEmpty());
    EXPECT_THAT(NamesOf(WithValue(CFSTR("idVendor"), kCFBooleanTrue)), IsEmpty());
    EXPECT_THAT(NamesOf(WithValue(CFSTR("IOPropertyMatch"), CFSTR("text"))), IsEmpty());
}

TEST_F(Matching, TextsAndNamesMatch) {
    PlugInComposite("/1-1", 1, 2);
    EXPECT_THAT(NamesOf(WithValue(CFSTR("IOTTYDevice"), CFSTR("ttyUSB0"))), ElementsAre("ttyUSB0"));
    EXPECT_THAT(NamesOf(IOServiceNameMatching("Modem")), ElementsAre("Modem"));
    EXPECT_THAT(NamesOf(IOServiceNameMatching("modem")), IsEmpty());
}

TEST_F(Matching, ANestedDictionaryNamesProperties) {
    PlugInComposite("/1-1", 1, 2);
    EXPECT_THAT(NamesOf(WithNested(MatchingIds(1, 2))), ElementsAre("Modem"));
}

TEST_F(Matching, ANestedDictionaryExcludesWhatLacksOneOfItsProperties) {
    PlugInComposite("/1-1", 1, 2);
    for (const auto& [vendor, product] : {std::pair(1, 3), std::pair(3, 2), std::pair(3, 3)})
        EXPECT_THAT(NamesOf(WithNested(MatchingIds(vendor, product))), IsEmpty()) << vendor << "/" << product;
    EXPECT_THAT(NamesOf(WithNested(WithValue(CFSTR("no such property"), CFSTR("1")))), IsEmpty());
    EXPECT_THAT(NamesOf(WithNested(WithValue(CFSTR("idVendor"), kCFBooleanTrue))), IsEmpty());
    EXPECT_THAT(NamesOf(WithNested(Empty())), ElementsAre("Modem"));
}

TEST_F(Matching, TheRootIsNoService) {
    EXPECT_THAT(NamesOf(Empty()), ElementsAre("IONetworkStack"));
    EXPECT_THAT(NamesOf(IOServiceNameMatching("Root")), IsEmpty());
    EXPECT_THAT(NamesOf(IOServiceMatching("IORegistryEntry")), ElementsAre("IONetworkStack"));
}

TEST_F(Matching, ConsumesItsDictionaryWhateverTheResult) {
    CFMutableDictionaryRef matching = IOServiceMatching("IOUSBDevice");
    CFRetain(matching);
    io_iterator_t iterator = IO_OBJECT_NULL;
    EXPECT_EQ(IOServiceGetMatchingServices(kIOMasterPortDefault, matching, &iterator), KERN_SUCCESS);
    IOObjectRelease(iterator);
    EXPECT_EQ(CFGetRetainCount(matching), 1);
    CFRetain(matching);
    EXPECT_EQ(IOServiceGetMatchingServices(kIOMasterPortDefault, matching, nullptr), kIOReturnBadArgument);
    EXPECT_EQ(CFGetRetainCount(matching), 1);
    CFRetain(matching);
    EXPECT_EQ(IOServiceGetMatchingService(kIOMasterPortDefault, matching), IO_OBJECT_NULL);
    EXPECT_EQ(CFGetRetainCount(matching), 1);
    CFRelease(matching);
}

TEST_F(Matching, WithoutADictionaryThereIsNoIterator) {
    io_iterator_t iterator = 1;
    EXPECT_EQ(IOServiceGetMatchingServices(kIOMasterPortDefault, nullptr, &iterator), kIOReturnBadArgument);
    EXPECT_EQ(iterator, IO_OBJECT_NULL);
    EXPECT_EQ(IOServiceGetMatchingService(kIOMasterPortDefault, nullptr), IO_OBJECT_NULL);
}

TEST_F(Matching, TheFirstServiceCanBeHadAlone) {
    deviceArrived(UsbDevice("/1-1", 1, 1, "first"));
    deviceArrived(UsbDevice("/1-2", 1, 2, "second", 2));
    const io_service_t first =
        IOServiceGetMatchingService(kIOMasterPortDefault, IOServiceMatching("IOUSBDevice"));
    EXPECT_EQ(NameOf(first), "first");
    IOObjectRelease(first);
}
