#include "SessionClient.h"

#include "Interruption.h"
#include "SessionSocket.h"
#include "Tool.h"

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include <cstdlib>

namespace Zevo {
namespace {

constexpr char HOW_TO_BEGIN[] = "begin one: zevo-sim run -- PROGRAM";

std::string onlySession() {
    std::vector<std::string> alive;
    std::string why;
    for (const std::string& folder : sessionFolders())
        if (connectTo(folder, why).isOpen())
            alive.push_back(folder);
    if (alive.empty())
        throw UsageError(std::string("no virtual bus is there; ") + HOW_TO_BEGIN);
    if (alive.size() == 1)
        return alive.front();
    std::string text = "there are several virtual buses; name one with --bus:";
    for (const std::string& folder : alive)
        text += "\n  " + folder;
    throw UsageError(text);
}

std::string chosenSession(const std::string& given) {
    if (!given.empty())
        return given;
    const char* const named = std::getenv(SESSION_VARIABLE);
    return named && *named ? named : onlySession();
}

} // namespace

SessionClient::SessionClient(const std::string& folder) : m_folder(chosenSession(folder)) {
    list(); // reports a dead session at once
}

void SessionClient::idle(std::chrono::milliseconds duration) {
    waitOrThrow(duration);
}

Bus::Json SessionClient::ask(const Json& request) {
    std::string why;
    const FileDescriptor connection = connectTo(m_folder, why);
    if (!connection.isOpen())
        throw std::runtime_error(fmt::format("{}: {}; {}", m_folder, why, HOW_TO_BEGIN));
    const std::string answer =
        sendMessage(connection.get(), request.dump()) ? receiveMessage(connection.get()) : std::string();
    if (answer.empty())
        throw std::runtime_error(m_folder + ": the session has ended meanwhile");
    Json json = Json::parse(answer);
    if (json.contains("error"))
        throw std::runtime_error(json.at("error").get<std::string>());
    return json;
}

} // namespace Zevo
