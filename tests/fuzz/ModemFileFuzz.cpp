#include "ModemFile.h"
#include "Require.h"

#include <cstdint>
#include <sstream>
#include <stdexcept>

// A modem file is refused, naming file and line, or its modem stays the same when it is written and read
// again.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    std::istringstream file(std::string(reinterpret_cast<const char*>(data), size));
    Zevo::Modem modem;
    try {
        modem = Zevo::readModem(file, "a file");
    } catch (const std::runtime_error& problem) {
        require(std::string(problem.what()).compare(0, 7, "a file:") == 0);
        return 0;
    }
    require(modem.first().isKnown());
    std::istringstream written(Zevo::modemFileText(modem));
    const Zevo::Modem again = Zevo::readModem(written, "what was written");
    require(again.name == modem.name && again.cdRom == modem.cdRom && again.modem == modem.modem);
    return 0;
}
