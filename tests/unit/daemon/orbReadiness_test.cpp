#include "daemon/orbReadiness.h"

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cstddef>
#include <cstdlib>
#include <string>

#include <gtest/gtest.h>

#include "fakes/TemporaryRoot.h"

namespace {
/// A service manager's end of the protocol.
class Manager {
public:
    /// @param name  a path, or an abstract name behind "@"
    explicit Manager(const std::string &name)
        : fd(::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0)) {
        sockaddr_un address = {};
        address.sun_family = AF_UNIX;
        name.copy(address.sun_path, sizeof address.sun_path);
        if (name[0] == '@') address.sun_path[0] = '\0';
        EXPECT_EQ(::bind(fd, reinterpret_cast<const sockaddr *>(&address),
                         static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + name.size())),
                  0);
        ::setenv("NOTIFY_SOCKET", name.c_str(), 1);
    }
    ~Manager() { ::close(fd); }
    std::string next() const {
        char text[64];
        const ssize_t got = ::recv(fd, text, sizeof text, MSG_DONTWAIT);
        return got < 0 ? "" : std::string(text, static_cast<std::size_t>(got));
    }

private:
    const int fd;
};

TEST(Readiness, TellsThePathInTheEnvironment) {
    const TemporaryRoot root;
    const Manager manager(root.path() + "/notify");
    const orbReadiness readiness;
    EXPECT_EQ(manager.next(), "");
    EXPECT_TRUE(readiness.ready());
    EXPECT_EQ(manager.next(), "READY=1");
    EXPECT_TRUE(readiness.stopping());
    EXPECT_EQ(manager.next(), "STOPPING=1");
}

TEST(Readiness, KnowsAbstractNames) {
    const Manager manager("@orb-readiness-test-" + std::to_string(::getpid()));
    EXPECT_TRUE(orbReadiness().ready());
    EXPECT_EQ(manager.next(), "READY=1");
}

TEST(Readiness, CommandsDoNotInheritTheSocket) {
    ::setenv("NOTIFY_SOCKET", "/nowhere", 1);
    const orbReadiness readiness;
    EXPECT_EQ(std::getenv("NOTIFY_SOCKET"), nullptr);
    EXPECT_FALSE(readiness.ready()) << "nobody listens";
}

TEST(Readiness, SilentWithoutAUsableName) {
    ::unsetenv("NOTIFY_SOCKET");
    EXPECT_FALSE(orbReadiness().ready());
    for (const std::string &name : {std::string(), std::string("/"), std::string("relative"),
                                    std::string("vsock:2:1"), "/" + std::string(200, 'x')}) {
        ::setenv("NOTIFY_SOCKET", name.c_str(), 1);
        EXPECT_FALSE(orbReadiness().ready()) << name;
    }
}
} // namespace
