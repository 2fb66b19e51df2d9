#include "SessionSocket.h"

#include <fmt/format.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <memory>
#include <stdexcept>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>

namespace Zevo {
namespace {

constexpr std::size_t LONGEST_MESSAGE = 128 * 1024; // fits into every kernel's socket buffer

FileDescriptor makeSocket() {
    return FileDescriptor(socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0));
}

/// A socket address holds only a short path; a path through the open folder is short.
sockaddr_un addressIn(const FileDescriptor& folder) {
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    const std::string path = fmt::format("/proc/self/fd/{}/socket", folder.get());
    path.copy(address.sun_path, sizeof address.sun_path - 1);
    return address;
}

FileDescriptor openFolder(const std::string& path) {
    return FileDescriptor(open(path.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
}

} // namespace

const char SESSION_VARIABLE[] = "ZEVO_SIM_BUS";
const char SESSION_FOLDER_NAME[] = "zevo-sim";

FileDescriptor listenIn(const std::string& folderPath) {
    const FileDescriptor folder = openFolder(folderPath);
    FileDescriptor listener = makeSocket();
    const sockaddr_un address = addressIn(folder);
    if (!folder.isOpen() || !listener.isOpen() ||
        bind(listener.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0 ||
        listen(listener.get(), SOMAXCONN) != 0)
        throw std::runtime_error(fmt::format("cannot listen in {}: {}", folderPath, std::strerror(errno)));
    return listener;
}

FileDescriptor connectTo(const std::string& folderPath, std::string& why) {
    why.clear();
    const FileDescriptor folder = openFolder(folderPath);
    struct stat status;
    if (!folder.isOpen() || fstat(folder.get(), &status) != 0) {
        why = errno == ENOENT ? "there is no such session (any more)" : std::strerror(errno);
        return FileDescriptor();
    }
    if (status.st_uid != geteuid()) {
        why = "that session is another user's";
        return FileDescriptor();
    }
    FileDescriptor connection = makeSocket();
    const sockaddr_un address = addressIn(folder);
    if (connection.isOpen() &&
        connect(connection.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0)
        return connection;
    if (errno == ENOENT)
        why = "that folder is no session's";
    else if (errno == ECONNREFUSED)
        why = "that session is dead: its \"zevo-sim run\" was killed; the folder may be removed";
    else
        why = std::strerror(errno);
    return FileDescriptor();
}

bool sendMessage(int connection, const std::string& text) {
    if (text.size() > LONGEST_MESSAGE)
        throw std::runtime_error("that is too much for one message to the bus");
    return send(connection, text.data(), text.size(), MSG_NOSIGNAL) == static_cast<ssize_t>(text.size());
}

std::string receiveMessage(int connection) {
    std::string text(LONGEST_MESSAGE, '\0');
    ssize_t length = -1;
    do {
        length = recv(connection, text.data(), text.size(), 0);
    } while (length < 0 && errno == EINTR);
    text.resize(length < 0 ? 0 : static_cast<std::size_t>(length));
    return text;
}

std::vector<std::string> sessionFolders() {
    const char* const given = std::getenv("TMPDIR");
    const std::string base = given && *given ? given : "/tmp";
    const std::string beginning = std::string(SESSION_FOLDER_NAME) + ".";
    std::vector<std::string> folders;
    const std::unique_ptr<DIR, int (*)(DIR*)> listing(opendir(base.c_str()), &closedir);
    while (const dirent* const entry = listing ? readdir(listing.get()) : nullptr) {
        const std::string path = base + "/" + entry->d_name;
        struct stat status;
        const bool isSession = std::string(entry->d_name).compare(0, beginning.size(), beginning) == 0 &&
                               lstat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode) &&
                               status.st_uid == geteuid();
        if (isSession)
            folders.push_back(path);
    }
    std::sort(folders.begin(), folders.end());
    return folders;
}

} // namespace Zevo
