#include "ContractChecks.h"
#include "KFExceptionHandler.h"

#include <cstdlib>
#include <cstring>

static const char KF_SOURCE[] = "product/Somewhere/src/StaticLifeVictim";

// The program uses the framework in the constructor or the destructor of a static object, as the environment
// says.
static bool isAskedFor(const char* moment, const char* deed) {
    const char* const askedMoment = std::getenv("VICTIM_MOMENT");
    const char* const askedDeed = std::getenv("VICTIM_DEED");
    return askedMoment != nullptr && askedDeed != nullptr && std::strcmp(askedMoment, moment) == 0 &&
           std::strcmp(askedDeed, deed) == 0;
}

static void act(const char* moment) {
    if (isAskedFor(moment, "instance") && KFExceptionHandler::GetInstance() == nullptr)
        std::abort();
    KF_REQUIRE(!isAskedFor(moment, "check"), 1);
}

class StaticObject {
public:
    StaticObject() { act("constructor"); }
    ~StaticObject() { act("destructor"); }
};

// Constructed before the static objects of the libraries that are linked in, and destroyed after them.
static StaticObject first __attribute__((init_priority(101)));

int main() {
    return 0;
}
