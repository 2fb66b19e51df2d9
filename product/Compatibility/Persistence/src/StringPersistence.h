#pragma once

#include <string>

/// Named text parameters of one domain, however they are stored.
class StringPersistence {
public:
    virtual ~StringPersistence() = default;

    /// Stores a parameter, replacing an earlier value.
    /// @return false, with the reason traced, if it could not be stored or read back; the earlier value then
    /// remains
    virtual bool writeParam(const std::string& name, const std::string& value) = 0;

    /// Sets `value` and returns true if there is such a parameter; otherwise leaves it as it is and returns
    /// false. `name` and `value` may be one string.
    virtual bool readParam(const std::string& name, std::string& value) = 0;

    /// Removes every parameter.
    virtual void eraseAllParams() = 0;
};
