#include "daemon/orbStopWatch.h"

#include <signal.h>
#include <unistd.h>

#include <chrono>
#include <string>

#include "core/Logger.h"
#include "daemon/daemon_options.h"
#include "daemon/daemon_texts.h"
#include "daemon/daemon_time.h"
#include "daemon/exit_status.h"
#include "daemon/orbStopLimit.h"

namespace {
constexpr char NO_THREAD[] = "main";
constexpr unsigned LAST_WORDS_S = 5; // for the log, which may be what hangs

void end_without_last_words(int) {
    ::_exit(ORB_EXIT_FAILED);
}

/// Ends the process after some seconds whatever its threads do.
void limit_last_words() {
    struct sigaction action = {};
    action.sa_handler = end_without_last_words;
    ::sigaction(SIGALRM, &action, nullptr);
    sigset_t only;
    sigemptyset(&only);
    sigaddset(&only, SIGALRM);
    ::pthread_sigmask(SIG_UNBLOCK, &only, nullptr);
    ::alarm(LAST_WORDS_S);
}
} // namespace

orbStopWatch::orbStopWatch(long patienceS)
    : patienceMs(patienceS * 1000), waitedFor(NO_THREAD), mainThread(::pthread_self()),
      process(*this), devices(*this) {}

orbStopWatch::~orbStopWatch() {
    end();
}

void orbStopWatch::begin() {
    if (watching) return;
    progressAt = daemon_time_ms();
    stopping = true;
    const int rc = IorbHostProcess::get().createThread(&thread, watchThread, this);
    watching = rc == 0;
    if (!watching)
        ORB_LOG_WARNING(JOB_MGR,
                        format_text("The stop is not limited: no thread to watch it (%d).", rc));
}

void orbStopWatch::end() {
    if (!watching) return;
    {
        const std::lock_guard<std::mutex> lock(mutex);
        done = true;
    }
    cond.notify_all();
    ::pthread_join(thread, nullptr);
    watching = false;
    stopping = false;
}

void *orbStopWatch::watchThread(void *self) {
    static_cast<orbStopWatch *>(self)->watch();
    return nullptr;
}

void orbStopWatch::watch() {
    orbStopLimit limit(progressAt, patienceMs, STOP_TOTAL_S * 1000);
    std::unique_lock<std::mutex> lock(mutex);
    while (!done) {
        limit.progress(progressAt);
        const std::int64_t now = daemon_time_ms();
        const orbStopLimit::VERDICT verdict = limit.judge(now);
        if (verdict != orbStopLimit::GOES_ON) giveUp(verdict == orbStopLimit::TOO_LONG);
        cond.wait_for(lock, std::chrono::milliseconds(daemon_wait_ms(limit.deadlineMs() - now)));
    }
}

void orbStopWatch::giveUp(bool tooLong) {
    const char *const name = waitedFor;
    const std::string limit = tooLong
                                  ? std::to_string(STOP_TOTAL_S) + " seconds in all"
                                  : std::to_string(patienceMs / 1000) + " seconds without progress";
    const std::string why =
        "ended by force after " + limit + ", waiting for the thread " + std::string(name);
    print_error("stop", why);
    limit_last_words();
    ORB_LOG_ERROR(JOB_MGR, "Stop " + why + ".");
    IorbHostProcess::get().exitNow(ORB_EXIT_FAILED);
    __builtin_unreachable();
}

void orbStopWatch::noteProgress() {
    if (stopping) progressAt = daemon_time_ms();
}

ORB_SYSCALL_RESULT orbStopWatch::Devices::open(const char *path, int flags) {
    return inner->open(path, flags);
}

ORB_SYSCALL_RESULT orbStopWatch::Devices::datagramSocket() {
    return inner->datagramSocket();
}

ORB_SYSCALL_RESULT orbStopWatch::Devices::close(int fd) {
    return inner->close(fd);
}

ORB_SYSCALL_RESULT orbStopWatch::Devices::ioctl(int fd, unsigned long request, void *arg) {
    const ORB_SYSCALL_RESULT result = inner->ioctl(fd, request, arg);
    if (result.rc >= 0) owner.noteProgress();
    return result;
}

ORB_SYSCALL_RESULT orbStopWatch::Devices::waitReadable(int fd) {
    return inner->waitReadable(fd);
}

int orbStopWatch::Process::createThread(pthread_t *out, void *(*entry)(void *), void *arg) {
    return inner->createThread(out, entry, arg);
}

int orbStopWatch::Process::joinThread(pthread_t joined, const char *name) {
    // Other threads join too; what the stop waits for is what its own thread waits for.
    const bool byMain = ::pthread_equal(::pthread_self(), owner.mainThread) != 0;
    if (byMain) owner.waitedFor = name;
    const int rc = inner->joinThread(joined, name);
    if (byMain) owner.waitedFor = NO_THREAD;
    if (rc == 0) owner.noteProgress();
    return rc;
}

void orbStopWatch::Process::waitingFor(const char *name) {
    if (::pthread_equal(::pthread_self(), owner.mainThread) != 0)
        owner.waitedFor = name != nullptr ? name : NO_THREAD;
    inner->waitingFor(name);
}

void orbStopWatch::Process::writeStandardOutput(std::string_view text) {
    inner->writeStandardOutput(text);
}

void orbStopWatch::Process::exitNow(int status) {
    inner->exitNow(status);
    __builtin_unreachable();
}

void orbStopWatch::Process::raiseDefault(int signal) {
    inner->raiseDefault(signal);
}
