#include "WithoutPrivileges.h"

#include <stdexcept>
#include <unistd.h>

WithoutPrivileges::WithoutPrivileges() {
    forGood();
}

WithoutPrivileges::~WithoutPrivileges() = default;

void WithoutPrivileges::forGood() {
    if (geteuid() == 0) {
        throw std::runtime_error(
            "file modes do not bind the superuser here; run the tests as an ordinary user");
    }
}
