#include "reporting/orbServer.h"

#include <sys/resource.h>

#include <cerrno>
#include <string>
#include <thread>

#include <gtest/gtest.h>

#include "fakes/FakeProcess.h"
#include "fakes/LogFile.h"
#include "fakes/TemporaryRoot.h"

namespace {
struct World {
    int lines(const std::string &level, const std::string &text) const {
        return log.count(level, "ORB_SERVER", text);
    }
    TemporaryRoot root;
    LogFile log{root};
    FakeProcess process;
};
} // namespace

TEST(ControlServer, StartsAndStops) {
    World world;
    ORBServer::initializeORBServer();
    ORBServer::stopORBServer();
    EXPECT_EQ(world.process.joined(), std::vector<std::string>{"control server"});
    EXPECT_EQ(world.lines("DEBUG", "ORB Server Thread started."), 1);
    EXPECT_EQ(world.lines("INFO", "Stopping ORB Server."), 1);
    EXPECT_EQ(world.lines("DEBUG", "value of n = 1"), 1);
    EXPECT_EQ(world.lines("DEBUG", "For ORB Server to stop, write on serStopPipeFd."), 1);
    EXPECT_EQ(world.lines("DEBUG", "Signalled for stop"), 1);
    EXPECT_EQ(world.log.countHolding("ERROR", "ORB_SERVER", ""), 0);
}

TEST(ControlServer, StopReachesAServerThatWaits) {
    World world;
    ORBServer::initializeORBServer();
    while (world.lines("DEBUG", "ORB Server Thread started.") == 0) std::this_thread::yield();
    ORBServer::stopORBServer();
    EXPECT_EQ(world.lines("DEBUG", "Signalled for stop"), 1);
}

TEST(ControlServer, SecondStopFindsNoPipe) {
    World world;
    ORBServer::initializeORBServer();
    ORBServer::stopORBServer();
    ORBServer::stopORBServer();
    EXPECT_EQ(world.lines("ERROR", "Invalid file descriptor"), 1);
    EXPECT_EQ(world.lines("DEBUG", "Signalled for stop"), 1);
}

TEST(ControlServer, StopWithoutAStartIsAnError) {
    World world;
    ORBServer::stopORBServer();
    EXPECT_EQ(world.lines("INFO", "Stopping ORB Server."), 1);
    EXPECT_EQ(world.lines("ERROR", "Invalid file descriptor"), 1);
    EXPECT_TRUE(world.process.joined().empty());
}

TEST(ControlServer, ThreadThatCannotBeMadeLeavesNoPipe) {
    World world;
    world.process.failCreation(0, EAGAIN);
    ORBServer::initializeORBServer();
    EXPECT_EQ(world.lines("DEBUG", "Unable to spawn a thread to handle event."), 1);
    ORBServer::stopORBServer();
    EXPECT_EQ(world.lines("ERROR", "Invalid file descriptor"), 1);
}

TEST(ControlServer, WithoutAPipeTheThreadEnds) {
    World world;
    // Whatever takes descriptors once in a process, the logger and checkers among it, has its own.
    ORBServer::initializeORBServer();
    ORBServer::stopORBServer();

    rlimit before{};
    ASSERT_EQ(::getrlimit(RLIMIT_NOFILE, &before), 0);
    rlimit none = before;
    none.rlim_cur = 0;
    ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &none), 0);
    ORBServer::initializeORBServer();
    EXPECT_EQ(ORBServer::thread.join(), 0);
    ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &before), 0);
    EXPECT_EQ(world.lines("ERROR", "Unable to open a pipe for serStopPipeFd file descriptor"), 1);
    ORBServer::stopORBServer();
    EXPECT_EQ(world.lines("ERROR", "Invalid file descriptor"), 1);
}
