#pragma once

#include <string>

/// Named text parameters of one domain, wherever they are kept.
class StringPersistence {
public:
    virtual ~StringPersistence() = default;

    /// Stores a parameter, replacing an earlier value. @return false, with the reason traced, when it could
    /// not be stored or could not be read back; what was stored before then stands.
    virtual bool writeParam(const std::string& name, const std::string& value) = 0;

    /// Sets `value` and returns true when there is such a parameter; otherwise leaves it and returns false.
    /// `name` and `value` may be one string.
    virtual bool readParam(const std::string& name, std::string& value) = 0;

    /// Removes every parameter.
    virtual void eraseAllParams() = 0;
};
