#include "AppDataPersistence.h"
#include "StoreFolder.h"

// Whatever the file holds: it is read safely, every parameter in it can be read by name, and a write keeps
// all of them and can be read back.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const StoreFolder folder;
    AppDataPersistence store("Fuzz", "Domain", PERSISTENCE_CURRENT_USER);
    writeFile(folder.file("Domain.dat"), std::string(reinterpret_cast<const char*>(data), size));

    t_paramMap params;
    require(store.readPersistenceFile(params));
    for (const auto& [name, value] : params) {
        std::string read;
        require(store.readParam(name, read) && read == value);
    }
    require(store.writeParam("written", "value"));
    params["written"] = "value";
    t_paramMap again;
    require(store.readPersistenceFile(again));
    require(again == params);
    return 0;
}
