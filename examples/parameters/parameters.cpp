// Keeps a component's settings: one text and one block of bytes for the user, one default for the machine.
//
//     parameters            shows what is stored, then counts this run
//
// The data lies below "Ferrow/ExampleProduct" in the application-data folders; docs/parameters.md tells
// where.

#include "AppData.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>

namespace {

/// What a component may keep as raw bytes: a plain record of its own.
struct WindowPlace {
    int left;
    int top;
};

int countRun(AppData& settings) {
    std::string runs = "0";
    settings.readParam("runs", runs);
    const int count = atoi(runs.c_str()) + 1;
    if (!settings.writeParam("runs", std::to_string(count))) {
        fprintf(stderr, "the number of runs could not be stored; the trace says why\n");
        return -1;
    }
    return count;
}

WindowPlace readPlace(const AppData& settings) {
    WindowPlace place = {40, 40};
    int size = 0;
    const std::unique_ptr<char[]> bytes(settings.readUnformattedParam("window", size));
    if (bytes != nullptr && size == sizeof(place)) {
        memcpy(&place, bytes.get(), sizeof(place));
    }
    return place;
}

} // namespace

int main() {
    AppData::setGlobalScope("ExampleProduct");
    AppData settings("Settings");

    // The user's value takes precedence over the machine's, which an installer would write.
    std::string greeting = "Hello";
    settings.readParam("greeting", greeting);

    const int run = countRun(settings);
    WindowPlace place = readPlace(settings);
    printf("%s, run %d, window at %d,%d\n", greeting.c_str(), run, place.left, place.top);

    place.left += 10;
    const bool kept =
        settings.writeUnformattedParam("window", reinterpret_cast<const char*>(&place), sizeof(place));
    return run > 0 && kept ? EXIT_SUCCESS : EXIT_FAILURE;
}
