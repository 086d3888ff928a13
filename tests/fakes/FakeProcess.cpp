#include "fakes/FakeProcess.h"

void FakeProcess::failCreation(int from, int errorNumber) {
    const std::lock_guard<std::mutex> lock(mutex);
    failFrom = creations + from;
    failError = errorNumber;
}

void FakeProcess::failJoin(int errorNumber) {
    const std::lock_guard<std::mutex> lock(mutex);
    joinError = errorNumber;
}

std::string FakeProcess::output() const {
    const std::lock_guard<std::mutex> lock(mutex);
    return written;
}

std::vector<std::string> FakeProcess::joined() const {
    const std::lock_guard<std::mutex> lock(mutex);
    return names;
}

std::vector<std::string> FakeProcess::waits() const {
    const std::lock_guard<std::mutex> lock(mutex);
    return waitNames;
}

int FakeProcess::created() const {
    const std::lock_guard<std::mutex> lock(mutex);
    return creations;
}

int FakeProcess::raised() const {
    const std::lock_guard<std::mutex> lock(mutex);
    return lastSignal;
}

int FakeProcess::createThread(pthread_t *out, void *(*entry)(void *), void *arg) {
    {
        const std::lock_guard<std::mutex> lock(mutex);
        if (failFrom >= 0 && creations >= failFrom) return failError;
        ++creations;
    }
    return ::pthread_create(out, nullptr, entry, arg);
}

int FakeProcess::joinThread(pthread_t thread, const char *name) {
    const int rc = ::pthread_join(thread, nullptr);
    const std::lock_guard<std::mutex> lock(mutex);
    names.emplace_back(name);
    return joinError != 0 ? joinError : rc;
}

void FakeProcess::waitingFor(const char *name) {
    const std::lock_guard<std::mutex> lock(mutex);
    waitNames.emplace_back(name != nullptr ? name : "");
}

void FakeProcess::writeStandardOutput(std::string_view text) {
    const std::lock_guard<std::mutex> lock(mutex);
    written += text;
}

void FakeProcess::exitNow(int status) {
    throw ProcessExit{status};
}

void FakeProcess::raiseDefault(int signal) {
    const std::lock_guard<std::mutex> lock(mutex);
    lastSignal = signal;
}
