#pragma once

#include <string>
#include <thread>

#include <gtest/gtest.h>

#include "support/Barrier.h"

/// The setting by which a manager's cache is built anew. @param seconds  as the file has it
inline std::string refresh_setting(const std::string &manager, const std::string &seconds) {
    return R"("CacheRefreshInSeconds": {")" + manager + R"(": ")" + seconds + R"("})";
}

/// A resource manager's loop on a thread of its own; TearDown() stops it. The world has the manager
/// as `manager` and a VirtualClock as `clock`, and counts finished builds with `builds()`; one
/// whose events matter has `sendFirstInventory()`.
template <typename World> class ManagerLoop : public ::testing::Test {
protected:
    /// @param settings  what the world is made of
    template <typename... Settings>
    explicit ManagerLoop(const Settings &...settings) : world(settings...) {}

    virtual int run() { return world.manager.init(); } ///< what the thread does
    void start() {
        thread = std::thread([this] { result = run(); });
    }
    void stop() {
        world.manager.stopResourceManagerJob();
        thread.join();
    }
    void TearDown() override {
        if (thread.joinable()) stop();
    }
    /// Runs the loop's first build, which ends with the wait for the next wake-up.
    void startAndWait() {
        start();
        ASSERT_TRUE(world.clock.waitForParked(1));
        ASSERT_EQ(world.builds(), 1);
    }
    /// Lets time pass, and what is due with it.
    void advance(int seconds) {
        world.clock.advance(seconds);
        ASSERT_TRUE(world.clock.waitForParked(1));
    }
    /// Opens the gate for events before the loop runs, so that time may pass by itself.
    void openTheGate() {
        world.clock.setAutoAdvance(true);
        World::sendFirstInventory();
        world.clock.setAutoAdvance(false);
    }

    World world;
    Barrier barrier; // outlives the loop, which TearDown() joins
    std::thread thread;
    int result = -1; // of run(), once it has ended
};
