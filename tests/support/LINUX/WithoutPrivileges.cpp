#include "WithoutPrivileges.h"

#include <linux/capability.h>
#include <stdexcept>
#include <sys/syscall.h>
#include <unistd.h>

static_assert(_LINUX_CAPABILITY_U32S_3 == 2, "so many words hold the capabilities");

static __user_cap_header_struct header = {_LINUX_CAPABILITY_VERSION_3, 0};

static void setCapabilities(const __user_cap_data_struct (&data)[2]) {
    if (syscall(SYS_capset, &header, data) != 0)
        throw std::runtime_error("cannot change the capabilities");
}

// Only the effective capabilities change: the permitted ones allow restoring them.
static void exchangeEffective(const std::uint32_t (&wanted)[2], std::uint32_t (&before)[2]) {
    __user_cap_data_struct data[2];
    if (syscall(SYS_capget, &header, data) != 0)
        throw std::runtime_error("cannot read the capabilities");
    for (int i = 0; i < 2; ++i) {
        before[i] = data[i].effective;
        data[i].effective = wanted[i];
    }
    setCapabilities(data);
}

WithoutPrivileges::WithoutPrivileges() {
    exchangeEffective({0, 0}, m_before);
}

WithoutPrivileges::~WithoutPrivileges() {
    std::uint32_t none[2];
    exchangeEffective(m_before, none);
}

void WithoutPrivileges::forGood() {
    setCapabilities({});
}
