#include "SessionSocket.h"

#include "SessionClient.h"
#include "TemporaryFolder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <sys/socket.h>
#include <sys/stat.h>

using testing::AllOf;
using testing::HasSubstr;
using namespace Zevo;

namespace {

std::string complaintAbout(const std::string& folder) {
    try {
        SessionClient client(folder);
    } catch (const std::runtime_error& problem) {
        return problem.what();
    }
    return "none";
}

} // namespace

TEST(SessionSocket, CarriesMessagesBothWays) {
    const TemporaryFolder folder;
    const FileDescriptor listener = listenIn(folder.path());
    std::string why;
    const FileDescriptor client = connectTo(folder.path(), why);
    ASSERT_TRUE(client.isOpen()) << why;
    const FileDescriptor server(accept(listener.get(), nullptr, nullptr));
    EXPECT_TRUE(sendMessage(client.get(), "one"));
    EXPECT_TRUE(sendMessage(client.get(), std::string(100000, 'x')));
    EXPECT_EQ(receiveMessage(server.get()), "one");
    EXPECT_EQ(receiveMessage(server.get()).size(), 100000u);
    EXPECT_THROW(sendMessage(client.get(), std::string(1000000, 'x')), std::runtime_error);
}

TEST(SessionSocket, ALongPathIsNoObstacle) {
    const TemporaryFolder folder;
    const std::string path = folder / std::string(200, 'x');
    ASSERT_EQ(mkdir(path.c_str(), 0700), 0);
    const FileDescriptor listener = listenIn(path);
    std::string why;
    EXPECT_TRUE(connectTo(path, why).isOpen()) << why;
}

TEST(SessionSocket, DeadAndMissingSessionsAreToldApart) {
    const TemporaryFolder folder;
    { const FileDescriptor dead = listenIn(folder.path()); }
    EXPECT_THAT(complaintAbout(folder.path()),
                AllOf(HasSubstr(folder.path()), HasSubstr("that session is dead"),
                      HasSubstr("zevo-sim run -- PROGRAM")));
    EXPECT_THAT(complaintAbout(folder / "nowhere"), HasSubstr("there is no such session (any more)"));
    ASSERT_EQ(mkdir((folder / "empty").c_str(), 0700), 0);
    EXPECT_THAT(complaintAbout(folder / "empty"), HasSubstr("that folder is no session's"));
}

TEST(SessionSocket, WithoutANameThereHasToBeOneLivingSessionAndNoMore) {
    const TemporaryFolder folder;
    const char* const set = std::getenv("TMPDIR");
    const std::string before = set != nullptr ? set : "/tmp";
    setenv("TMPDIR", folder.path().c_str(), 1);
    unsetenv(SESSION_VARIABLE);
    EXPECT_THAT(complaintAbout(""), HasSubstr("no virtual bus is there"));
    for (const char* const name : {"zevo-sim.a", "zevo-sim.b", "zevo-sim.dead"})
        ASSERT_EQ(mkdir((folder / name).c_str(), 0700), 0);
    { const FileDescriptor dead = listenIn(folder / "zevo-sim.dead"); }
    EXPECT_EQ(sessionFolders().size(), 3u);
    EXPECT_THAT(complaintAbout(""), HasSubstr("no virtual bus is there"));
    const FileDescriptor first = listenIn(folder / "zevo-sim.a");
    const FileDescriptor second = listenIn(folder / "zevo-sim.b");
    EXPECT_THAT(complaintAbout(""), AllOf(HasSubstr("several virtual buses"), HasSubstr("zevo-sim.a\n"),
                                          HasSubstr("zevo-sim.b")));
    setenv(SESSION_VARIABLE, (folder / "zevo-sim.gone").c_str(), 1);
    EXPECT_THAT(complaintAbout(""), HasSubstr("zevo-sim.gone: there is no such session"));
    unsetenv(SESSION_VARIABLE);
}
