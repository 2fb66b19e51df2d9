#pragma once

#include "Bus.h"

namespace Zevo {

/// The bus of a session that another process runs.
class SessionClient : public Bus {
public:
    /// @param folder  of the session; empty: the one in the environment, else this user's only one
    /// @throw UsageError there is none, or several; says which
    /// @throw std::runtime_error it is dead
    explicit SessionClient(const std::string& folder);

    void idle(std::chrono::milliseconds duration) override;

protected:
    Json ask(const Json& request) override;

private:
    std::string m_folder;
};

} // namespace Zevo
