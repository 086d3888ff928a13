#include "daemon/orbStopWatch.h"

#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <condition_variable>
#include <cstdlib>
#include <functional>
#include <mutex>
#include <string>
#include <string_view>
#include <thread>
#include <utility>

#include <gtest/gtest.h>

#include "core/Logger.h"
#include "core/orbThread.h"
#include "daemon/daemon_time.h"
#include "fakes/FakeProcess.h"
#include "fakes/LogFile.h"
#include "fakes/TemporaryRoot.h"

namespace {
/// A device whose answers a test decides.
class AnyDevice final : public IorbHostDevices {
public:
    AnyDevice() : outer(replace(this)) {}
    ~AnyDevice() override { replace(outer); }
    std::atomic<long> answer{0};
    std::atomic<int> calls{0};

    ORB_SYSCALL_RESULT open(const char *, int) override { return count(7); }
    ORB_SYSCALL_RESULT datagramSocket() override { return count(8); }
    ORB_SYSCALL_RESULT close(int) override { return count(0); }
    ORB_SYSCALL_RESULT ioctl(int, unsigned long, void *) override { return count(answer); }
    ORB_SYSCALL_RESULT waitReadable(int) override { return count(1); }

private:
    ORB_SYSCALL_RESULT count(long rc) {
        ++calls;
        return {rc, rc < 0 ? EIO : 0};
    }
    IorbHostDevices *outer;
};

/// Real threads; something is done on the thread that joins, when it has come as far as the join.
/// So a watch can begin when the stop is where the test wants it, whatever else the machine does.
class JoinsWatched final : public IorbHostProcess {
public:
    explicit JoinsWatched(std::function<void(std::string_view name)> action)
        : atJoin(std::move(action)), inner(replace(this)) {}
    ~JoinsWatched() override { replace(inner); }
    int createThread(pthread_t *out, void *(*entry)(void *), void *arg) override {
        return inner->createThread(out, entry, arg);
    }
    int joinThread(pthread_t thread, const char *name) override {
        atJoin(name);
        return inner->joinThread(thread, name);
    }
    void writeStandardOutput(std::string_view text) override { inner->writeStandardOutput(text); }
    [[noreturn]] void exitNow(int status) override {
        inner->exitNow(status);
        __builtin_unreachable();
    }
    void raiseDefault(int signal) override { inner->raiseDefault(signal); }

private:
    const std::function<void(std::string_view name)> atJoin;
    IorbHostProcess *inner;
};

void *wait_for_ever(void *) {
    std::mutex mutex;
    std::unique_lock<std::mutex> lock(mutex);
    std::condition_variable never;
    never.wait(lock, [] { return false; });
    return nullptr;
}
void *end_at_once(void *) {
    return nullptr;
}

/// Runs a stop in a child process. @return its exit status; what it prints goes to "/stderr"
int run_stop(TemporaryRoot &root, const std::function<void()> &stop) {
    const pid_t child = ::fork();
    if (child == 0) {
        if (std::freopen(root.map("/stderr").c_str(), "a", stderr) == nullptr) std::_Exit(97);
        stop();
        std::exit(0);
    }
    int status = 0;
    if (::waitpid(child, &status, 0) != child) return 98;
    return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
}

TEST(StopWatch, NamesTheThreadThatTheStopWaitsFor) {
    TemporaryRoot root;
    const LogFile log(root);
    set_daemon_speed(1000);
    const int status = run_stop(root, [] {
        orbStopWatch *begun = nullptr; // by the last join
        const JoinsWatched joins([&](std::string_view name) {
            if (name == "EthernetDevices") begun->begin();
        });
        orbStopWatch watch(20);
        begun = &watch;
        orbThread stuck("EthernetDevices"), other("aggregator");
        ASSERT_EQ(stuck.create(wait_for_ever, nullptr), 0);
        ASSERT_EQ(other.create(end_at_once, nullptr), 0);
        (void)other.join();
        (void)stuck.join();
    });
    EXPECT_EQ(status, 1);
    EXPECT_EQ(root.read("/stderr"), "orbd: stop: ended by force after 20 seconds without progress, "
                                    "waiting for the thread EthernetDevices\n");
    EXPECT_LOGGED(log, "ERROR", "JOB_MGR",
                  "Stop ended by force after 20 seconds without progress, waiting for the thread "
                  "EthernetDevices.");
}

TEST(StopWatch, WithoutAJoinItIsTheMainThread) {
    TemporaryRoot root;
    const LogFile log(root);
    set_daemon_speed(1000);
    EXPECT_EQ(run_stop(root,
                       [] {
                           orbStopWatch watch(5);
                           watch.begin();
                           wait_for_ever(nullptr);
                       }),
              1);
    EXPECT_NE(root.read("/stderr").find("waiting for the thread main\n"), std::string::npos);
}

TEST(StopWatch, NamesTheThreadThatIsWaitedForWithoutAJoin) {
    TemporaryRoot root;
    const LogFile log(root);
    set_daemon_speed(1000);
    EXPECT_EQ(run_stop(root,
                       [] {
                           orbStopWatch watch(5);
                           IorbHostProcess::get().waitingFor("HostOSInfo");
                           IorbHostProcess::get().waitingFor("StorageControllers");
                           std::thread other(
                               [] { IorbHostProcess::get().waitingFor("another's"); });
                           other.join();
                           watch.begin();
                           wait_for_ever(nullptr);
                       }),
              1);
    EXPECT_NE(root.read("/stderr").find("waiting for the thread StorageControllers\n"),
              std::string::npos);
}

TEST(StopWatch, WaitThatIsOverNamesNobody) {
    TemporaryRoot root;
    const LogFile log(root);
    set_daemon_speed(1000);
    EXPECT_EQ(run_stop(root,
                       [] {
                           orbStopWatch watch(5);
                           IorbHostProcess::get().waitingFor("StorageControllers");
                           IorbHostProcess::get().waitingFor(nullptr);
                           watch.begin();
                           wait_for_ever(nullptr);
                       }),
              1);
    EXPECT_NE(root.read("/stderr").find("waiting for the thread main\n"), std::string::npos);
}

TEST(StopWatch, ThreadThatAnotherThreadJoinsIsNotNamed) {
    TemporaryRoot root;
    const LogFile log(root);
    set_daemon_speed(1000);
    EXPECT_EQ(run_stop(root,
                       [] {
                           orbStopWatch *begun = nullptr; // when both threads are in their joins
                           std::atomic<bool> delivering{false};
                           const JoinsWatched joins([&](std::string_view name) {
                               if (name == "event delivery") {
                                   delivering = true;
                                   return;
                               }
                               while (!delivering) std::this_thread::yield();
                               begun->begin();
                           });
                           orbStopWatch watch(5);
                           begun = &watch;
                           orbThread manager("HostOSInfo");
                           ASSERT_EQ(manager.create(
                                         [](void *) -> void * {
                                             orbThread delivery("event delivery");
                                             (void)delivery.create(wait_for_ever, nullptr);
                                             (void)delivery.join();
                                             return nullptr;
                                         },
                                         nullptr),
                                     0);
                           (void)manager.join();
                       }),
              1);
    EXPECT_NE(root.read("/stderr").find("waiting for the thread HostOSInfo\n"), std::string::npos);
}

TEST(StopWatch, AnsweredCommandsKeepTheStopAliveOnlyForTheTimeInAll) {
    TemporaryRoot root;
    const LogFile log(root);
    set_daemon_speed(500); // the end in all comes after 1.8 seconds, without answers after 1.2
    EXPECT_EQ(run_stop(root,
                       [] {
                           AnyDevice device;
                           orbStopWatch watch(600);
                           watch.begin();
                           while (true) {
                               (void)IorbHostDevices::get().ioctl(7, 1, nullptr);
                               std::this_thread::yield();
                           }
                       }),
              1);
    EXPECT_NE(root.read("/stderr").find("after 900 seconds in all"), std::string::npos)
        << root.read("/stderr");
}

TEST(StopWatch, FailedCommandsAreNoProgress) {
    TemporaryRoot root;
    const LogFile log(root);
    set_daemon_speed(1000);
    EXPECT_EQ(run_stop(root,
                       [] {
                           AnyDevice device;
                           device.answer = -1;
                           orbStopWatch watch(60);
                           watch.begin();
                           while (true) {
                               (void)IorbHostDevices::get().ioctl(7, 1, nullptr);
                               std::this_thread::yield();
                           }
                       }),
              1);
    EXPECT_NE(root.read("/stderr").find("60 seconds without progress"), std::string::npos);
}

TEST(StopWatch, StopInTimeEndsTheWatch) {
    const TemporaryRoot root;
    orbStopWatch watch(180);
    orbThread thread("aggregator");
    ASSERT_EQ(thread.create(end_at_once, nullptr), 0);
    watch.begin();
    watch.begin(); // once is enough
    EXPECT_EQ(thread.join(), 0);
    watch.end();
    watch.end();
}

TEST(StopWatch, WithoutAThreadTheStopGoesOnUnlimited) {
    TemporaryRoot root;
    const LogFile log(root);
    FakeProcess process;
    process.failCreation(0, EAGAIN);
    orbStopWatch watch(180);
    watch.begin();
    watch.end();
    EXPECT_LOGGED(log, "WARNING", "JOB_MGR",
                  "The stop is not limited: no thread to watch it (" + std::to_string(EAGAIN) +
                      ").");
}

TEST(StopWatch, PassesEverythingOn) {
    AnyDevice device;
    FakeProcess process;
    {
        orbStopWatch watch(180);
        IorbHostDevices &devices = IorbHostDevices::get();
        EXPECT_NE(&devices, &device) << "it lies over what was there";
        EXPECT_EQ(devices.open("/dev/x", 0).rc, 7);
        EXPECT_EQ(devices.waitReadable(7).rc, 1);
        device.answer = -1;
        EXPECT_EQ(devices.ioctl(7, 1, nullptr).err, EIO);
        EXPECT_EQ(devices.datagramSocket().rc, 8);
        EXPECT_EQ(devices.close(7).rc, 0);
        EXPECT_EQ(device.calls, 5);
        IorbHostProcess::get().writeStandardOutput("text");
        IorbHostProcess::get().raiseDefault(11);
        EXPECT_THROW(IorbHostProcess::get().exitNow(3), ProcessExit);
    }
    EXPECT_EQ(process.output(), "text");
    EXPECT_EQ(process.raised(), 11);
    EXPECT_EQ(&IorbHostDevices::get(), &device) << "and is gone again";
    EXPECT_EQ(&IorbHostProcess::get(), &process);
}
} // namespace
