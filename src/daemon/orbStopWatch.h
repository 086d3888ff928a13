#pragma once

#include <pthread.h>

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <string_view>

#include "hostaccess/orbHostDevices.h"
#include "hostaccess/orbHostProcess.h"

/// Ends the process by force where a stop makes no progress. A joined thread, a delivered message
/// and an answered device command are progress; they are seen at the device and process seams, over
/// which this object lies while it exists. It is made by the main thread before other threads run.
///
/// Threads: the watch thread, from begin() to end(); the main thread all else; any thread passes
///          through the seams.
class orbStopWatch {
public:
    /// @param patienceS  seconds without progress after which the end comes
    explicit orbStopWatch(long patienceS);
    ~orbStopWatch();
    orbStopWatch(const orbStopWatch &) = delete;
    orbStopWatch &operator=(const orbStopWatch &) = delete;

    /// The stop begins; the calling thread carries it out. When it runs out of time, the thread it
    /// waits for is named on standard error and in the log, and the process ends with status 1.
    void begin();
    void end(); ///< the stop is done

private:
    static void *watchThread(void *self);
    void watch();
    [[noreturn]] void giveUp(bool tooLong);
    void noteProgress();

    /// Passes everything on; a device that answered is progress.
    class Devices final : public IorbHostDevices {
    public:
        explicit Devices(orbStopWatch &ofWatch) : owner(ofWatch), inner(replace(this)) {}
        ~Devices() override { replace(inner); }
        ORB_SYSCALL_RESULT open(const char *path, int flags) override;
        ORB_SYSCALL_RESULT datagramSocket() override;
        ORB_SYSCALL_RESULT close(int fd) override;
        ORB_SYSCALL_RESULT ioctl(int fd, unsigned long request, void *arg) override;
        ORB_SYSCALL_RESULT waitReadable(int fd) override;

    private:
        orbStopWatch &owner;
        IorbHostDevices *inner;
    };

    /// Passes everything on; a joined thread is progress, and the name that the stopping thread
    /// waits for, by a join or otherwise, is kept.
    class Process final : public IorbHostProcess {
    public:
        explicit Process(orbStopWatch &ofWatch) : owner(ofWatch), inner(replace(this)) {}
        ~Process() override { replace(inner); }
        int createThread(pthread_t *out, void *(*entry)(void *), void *arg) override;
        int joinThread(pthread_t thread, const char *name) override;
        void waitingFor(const char *name) override;
        void writeStandardOutput(std::string_view text) override;
        [[noreturn]] void exitNow(int status) override;
        void raiseDefault(int signal) override;

    private:
        orbStopWatch &owner;
        IorbHostProcess *inner;
    };

    const std::int64_t patienceMs;
    std::atomic<bool> stopping{false};       // the main thread sets it, any thread reads it
    std::atomic<std::int64_t> progressAt{0}; // daemon time of the last progress; any thread
    std::atomic<const char *> waitedFor;     // static text; the main thread writes
    pthread_t mainThread;                    // who stops; set by the constructor
    pthread_t thread = 0;                    // the watch thread
    bool watching = false;                   // main thread only
    std::mutex mutex;
    std::condition_variable cond;
    bool done = false; // guarded by mutex
    Process process;
    Devices devices;
};
