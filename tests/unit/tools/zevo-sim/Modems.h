#pragma once

#include "ModemDatabase.h"

#include <vector>

/// Modems that the database of usb_modeswitch might contain.
inline std::vector<Zevo::KnownModem> someModems() {
    return {{{0x12d1, 0x1003}, {{0x12d1, 0x1003}}, "Huawei E220, E230"}, // keeps its ids
            {{0x12d1, 0x1446}, {{0x12d1, 0x1001}, {0x12d1, 0x1406}}, "Huawei, newer modems"},
            {{0x19d2, 0x2000}, {{0x19d2, 0x0002}}, "ZTE MF-110"}};
}
