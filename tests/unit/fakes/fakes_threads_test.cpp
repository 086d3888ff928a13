#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>

#include <atomic>
#include <cerrno>
#include <condition_variable>
#include <cstring>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "fakes/CapturedSyslog.h"
#include "fakes/FakeIdentity.h"
#include "fakes/FakeLibraries.h"
#include "fakes/FakeProcess.h"
#include "fakes/FakeRmc.h"
#include "fakes/FastClock.h"
#include "fakes/ScriptedCommands.h"
#include "fakes/ScriptedHostDevices.h"
#include "fakes/TemporaryRoot.h"
#include "fakes/VirtualClock.h"

// Each call of each door from several threads at once, with nothing else between them: the build
// that looks for data races finds what a fake keeps without a guard, however rarely the daemon's
// own threads meet there.

namespace {
constexpr int THREADS = 4, ROUNDS = 20, CALLS = THREADS * ROUNDS;

/// Runs `work` on all threads, which begin together. @param work  called with the thread's number
template <typename Work> void on_all_threads(Work work) {
    std::atomic<int> arrived{0};
    std::vector<std::thread> threads;
    for (int number = 0; number < THREADS; ++number)
        threads.emplace_back([&, number] {
            ++arrived;
            while (arrived < THREADS) std::this_thread::yield();
            for (int round = 0; round < ROUNDS; ++round) work(number);
        });
    for (std::thread &thread : threads) thread.join();
}

int answer() {
    return 42;
}
void *count_up(void *sum) {
    ++*static_cast<std::atomic<int> *>(sum);
    return nullptr;
}
} // namespace

TEST(FakesThreads, Identity) {
    FakeIdentity identity;
    on_all_threads([&](int) {
        utsname names;
        EXPECT_EQ(IorbHostIdentity::get().uname(&names).rc, 0);
        EXPECT_STREQ(names.nodename, "orb-host-01");
        struct sysinfo info;
        EXPECT_EQ(IorbHostIdentity::get().sysinfo(&info).rc, 0);
        EXPECT_EQ(info.uptime, 86400);
        ifaddrs *list = nullptr;
        ASSERT_EQ(IorbHostIdentity::get().getifaddrs(&list).rc, 0);
        EXPECT_GE(identity.listsOut(), 1);
        EXPECT_STREQ(list->ifa_next->ifa_name, "vmk0");
        IorbHostIdentity::get().freeifaddrs(list);
    });
    EXPECT_EQ(identity.listsOut(), 0);
}

TEST(FakesThreads, Libraries) {
    FakeLibraries libraries;
    libraries.add("libgood.so", {{"answer", FakeLibraries::entry(answer)}});
    std::atomic<int> opening{0};
    libraries.onOpen([&] { ++opening; });
    on_all_threads([&](int number) {
        IorbHostLibraries &door = IorbHostLibraries::get();
        void *const library = door.open("libgood.so", 2);
        ASSERT_NE(library, nullptr);
        EXPECT_GE(libraries.opened("libgood.so"), 1);
        EXPECT_NE(door.symbol(library, "answer"), nullptr);

        // What failed is told to the thread that failed.
        EXPECT_EQ(door.error(), nullptr);
        const std::string name = "symbol" + std::to_string(number);
        EXPECT_EQ(door.symbol(library, name.c_str()), nullptr);
        const char *const text = door.error();
        ASSERT_NE(text, nullptr);
        EXPECT_EQ(std::string(text), "libgood.so: undefined symbol: " + name);
        EXPECT_EQ(door.open("libmissing.so", 2), nullptr);
        EXPECT_STREQ(door.error(), "libmissing.so: cannot open shared object file");
        EXPECT_EQ(door.close(library), 0);
    });
    EXPECT_EQ(libraries.opened("libgood.so"), 0);
    EXPECT_EQ(opening, 2 * CALLS);
    EXPECT_EQ(libraries.calls().size(), 8u * CALLS);
}

TEST(FakesThreads, Process) {
    FakeProcess process;
    std::atomic<int> ran{0};
    on_all_threads([&](int) {
        IorbHostProcess &door = IorbHostProcess::get();
        pthread_t thread;
        ASSERT_EQ(door.createThread(&thread, count_up, &ran), 0);
        EXPECT_EQ(door.joinThread(thread, "worker"), 0);
        door.writeStandardOutput(".");
        door.raiseDefault(11);
        EXPECT_EQ(process.raised(), 11);
        EXPECT_GE(process.created(), 1);
        EXPECT_FALSE(process.joined().empty());
        EXPECT_FALSE(process.output().empty());
        process.failJoin(0);
        EXPECT_THROW(door.exitNow(3), ProcessExit);
    });
    EXPECT_EQ(ran, CALLS);
    EXPECT_EQ(process.created(), CALLS);
    EXPECT_EQ(process.joined().size(), std::size_t{CALLS});
    EXPECT_EQ(process.output(), std::string(CALLS, '.'));
    process.failCreation(0, EAGAIN);
    on_all_threads([&](int) {
        pthread_t thread;
        EXPECT_EQ(IorbHostProcess::get().createThread(&thread, count_up, &ran), EAGAIN);
    });
}

TEST(FakesThreads, Commands) {
    ScriptedCommands commands;
    std::atomic<int> done{0};
    commands.onSystem("work", {3, 0}, [&] { ++done; });
    commands.onPopen("tell", "text\n", 256);
    commands.failPopen("refuse", EAGAIN);
    on_all_threads([&](int number) {
        IorbHostCommands &door = IorbHostCommands::get();
        commands.onPopen("own " + std::to_string(number),
                         ""); // an answer that is changed meanwhile
        EXPECT_EQ(door.system("work").status, 3);
        int err = 0;
        std::FILE *const stream = door.popen("tell", &err);
        ASSERT_NE(stream, nullptr);
        char text[16] = "";
        EXPECT_NE(std::fgets(text, sizeof text, stream), nullptr);
        EXPECT_STREQ(text, "text\n");
        EXPECT_EQ(door.pclose(stream), 256);
        EXPECT_EQ(door.popen("refuse", &err), nullptr);
        EXPECT_EQ(err, EAGAIN);
    });
    EXPECT_EQ(done, CALLS);
    EXPECT_EQ(commands.calls().size(), 3u * CALLS);
}

TEST(FakesThreads, Devices) {
    ScriptedHostDevices devices({});
    std::atomic<int> answered{0};
    for (int i = 0; i < CALLS; ++i)
        devices.add({7, {0, 0}, [&](void *arg) {
                         *static_cast<int *>(arg) = 1;
                         (void)devices.stepsLeft(); // an answer may ask the fake
                         ++answered;
                     }});
    on_all_threads([&](int) {
        IorbHostDevices &door = IorbHostDevices::get();
        devices.setWaitResult({1, 0});
        const ORB_SYSCALL_RESULT file = door.open("/dev/sg0", O_RDWR);
        const ORB_SYSCALL_RESULT socket = door.datagramSocket();
        EXPECT_NE(file.rc, socket.rc);
        int reply = 0;
        EXPECT_EQ(door.ioctl(static_cast<int>(file.rc), 7, &reply).rc, 0);
        EXPECT_EQ(reply, 1);
        EXPECT_EQ(door.waitReadable(static_cast<int>(file.rc)).rc, 1);
        EXPECT_EQ(door.close(static_cast<int>(file.rc)).rc, 0);
        EXPECT_EQ(door.close(static_cast<int>(socket.rc)).rc, 0);
    });
    EXPECT_EQ(answered, CALLS);
    EXPECT_EQ(devices.opened().size(), 2u * CALLS);
    EXPECT_EQ(devices.stillOpen(), 0);
    devices.failOpen(CALLS, ENODEV);
    on_all_threads(
        [](int) { EXPECT_EQ(IorbHostDevices::get().open("/dev/sg0", O_RDWR).err, ENODEV); });
}

TEST(FakesThreads, Rmc) {
    FakeRmc rmc;
    rmc.failOpen(CALLS / 2);
    std::atomic<int> failed{0};
    on_all_threads([&](int) {
        IorbHostDevices &door = IorbHostDevices::get();
        const ORB_SYSCALL_RESULT opened = door.open("/dev/ipmi0", O_RDWR);
        EXPECT_EQ(rmc.count(0x80), 0u);
        EXPECT_TRUE(rmc.sent().empty());
        EXPECT_GE(rmc.opens(), 1);
        if (opened.rc < 0) {
            ++failed;
            return;
        }
        EXPECT_EQ(door.waitReadable(static_cast<int>(opened.rc)).rc, 1);
        EXPECT_GE(rmc.stillOpen(), 1);
        EXPECT_EQ(door.close(static_cast<int>(opened.rc)).rc, 0);
    });
    EXPECT_EQ(failed, CALLS / 2);
    EXPECT_EQ(rmc.opens(), CALLS);
    EXPECT_EQ(rmc.stillOpen(), 0);
}

TEST(FakesThreads, Syslog) {
    CapturedSyslog syslog;
    on_all_threads([&](int) {
        IorbHostSyslog::get().write("orb", 8, 3, "line");
        EXPECT_GE(syslog.count(3, "line"), 1);
    });
    EXPECT_EQ(syslog.lines().size(), std::size_t{CALLS});
}

TEST(FakesThreads, Files) {
    TemporaryRoot root;
    on_all_threads([&](int number) {
        const std::string path = "/var/own" + std::to_string(number) + "/file";
        EXPECT_EQ(IorbHostFiles::get().map(path), root.path() + path);
        root.write(path, path);
        root.makeDirectory("/var/shared");
        EXPECT_EQ(root.read(path), path);
        EXPECT_TRUE(root.exists("/var/shared"));
    });
}

TEST(FakesThreads, ClockThatMovesItself) {
    VirtualClock clock;
    clock.setAutoAdvance(true);
    std::mutex mutex;
    std::condition_variable cond;
    on_all_threads([&](int) {
        IorbHostClock &door = IorbHostClock::get();
        door.sleepMs(1000);
        std::timespec now{};
        EXPECT_EQ(door.realTime(&now).rc, 0);
        EXPECT_GT(door.now(), VirtualClock::START);
        clock.failRealTime(0);
        std::unique_lock<std::mutex> lock(mutex);
        EXPECT_EQ(door.waitUntil(cond, lock, {now.tv_sec + 10, 0}), std::cv_status::timeout);
    });
    EXPECT_EQ(clock.sleptMs(), 1000 * CALLS);
    EXPECT_GE(clock.now(), VirtualClock::START + CALLS);
}

TEST(FakesThreads, ClockThatIsMoved) {
    VirtualClock clock;
    std::mutex mutex;
    std::condition_variable cond; // shared, as the waits of one object are
    std::vector<std::thread> waiters;
    for (int number = 0; number < THREADS; ++number)
        waiters.emplace_back([&] {
            for (int round = 1; round <= ROUNDS; ++round) {
                std::unique_lock<std::mutex> lock(mutex);
                const std::timespec deadline{VirtualClock::START + round, 0};
                while (IorbHostClock::get().waitUntil(cond, lock, deadline) !=
                       std::cv_status::timeout) {
                }
            }
        });
    for (int round = 1; round <= ROUNDS; ++round) {
        EXPECT_TRUE(clock.waitForParked(THREADS));
        clock.wakeForNothing();
        EXPECT_TRUE(clock.waitForParked(THREADS));
        clock.advance(1);
    }
    for (std::thread &waiter : waiters) waiter.join();
    EXPECT_TRUE(clock.waitForParked(0));
}

TEST(FakesThreads, ClockThatRunsFast) {
    const FastClock clock(1e6);
    std::mutex mutex;
    std::condition_variable cond;
    on_all_threads([&](int) {
        IorbHostClock &door = IorbHostClock::get();
        const std::time_t before = door.now();
        door.sleepMs(2000);
        EXPECT_GT(door.now(), before);
        std::unique_lock<std::mutex> lock(mutex);
        EXPECT_EQ(door.waitUntil(cond, lock, {before, 0}), std::cv_status::timeout);
    });
}
