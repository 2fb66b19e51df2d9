#include "BinaryAppDataPersistence.h"
#include "StoreFolder.h"

#include <memory>

// Whatever the file holds: it is read safely up to the damage, every block before the damage can be read by
// name, and a write keeps all of them and can be read back.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const StoreFolder folder;
    BinaryAppDataPersistence store("Fuzz", "Domain", PERSISTENCE_CURRENT_USER);
    writeFile(folder.file("Domain_binary.dat"), std::string(reinterpret_cast<const char*>(data), size));

    BinaryAppDataPersistence::ParamMap params;
    require(store.readPersistenceFile(params));
    std::size_t bytes = 0;
    for (const auto& entry : params) {
        int length = -1;
        const std::unique_ptr<char[]> block(store.readUnformattedParam(entry.first, length));
        require(block != nullptr && length == entry.second.getBufferSize());
        bytes += static_cast<std::size_t>(length);
    }
    require(bytes <= size);
    require(store.writeUnformattedParam("written", "value", 5));
    BinaryAppDataPersistence::ParamMap again;
    require(store.readPersistenceFile(again));
    require(again.size() == params.size() + (params.count("written") == 0 ? 1 : 0));
    return 0;
}
