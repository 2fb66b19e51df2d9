#include "SavedName.h"

#include "Dictionary.h"
#include "StringManagement.h"

static_assert(__cplusplus >= 201703L, "the framework's targets bring C++17 along");

std::string savedName() {
    Dictionary saved;
    saved.addValue("modem.name", "Quillmarsh");
    saved.saveToFile("settings.plist");
    Dictionary loaded;
    loaded.loadFromFile("settings.plist");
    const char* name = loaded.getValue("modem.name");
    return name != nullptr ? StringManagement::toLower(name) : "(none)";
}
