#pragma once

#include <mutex>
#include <string_view>
#include <vector>

#include "hostaccess/orbHostProcess.h"
#include "reporting/orbEventHandler.h"

/// Keeps a copy of each event that goes on its way, with what is carried and not sent: it sees the
/// delivery's thread being made. Everything is passed on to the process in force before. Any
/// thread.
class RaisedEvents final : public IorbHostProcess {
public:
    RaisedEvents() : inner(replace(this)) {}
    ~RaisedEvents() override { replace(inner); }
    RaisedEvents(const RaisedEvents &) = delete;
    RaisedEvents &operator=(const RaisedEvents &) = delete;

    std::vector<orbEvent> all() const {
        const std::lock_guard<std::mutex> lock(mutex);
        return events;
    }

    int createThread(pthread_t *out, void *(*entry)(void *), void *arg) override {
        if (entry == startEventGeneration) {
            const std::lock_guard<std::mutex> lock(mutex);
            events.push_back(*static_cast<const orbEvent *>(arg));
        }
        return inner->createThread(out, entry, arg);
    }
    int joinThread(pthread_t thread, const char *name) override {
        return inner->joinThread(thread, name);
    }
    void waitingFor(const char *name) override { inner->waitingFor(name); }
    void writeStandardOutput(std::string_view text) override { inner->writeStandardOutput(text); }
    [[noreturn]] void exitNow(int status) override {
        inner->exitNow(status);
        __builtin_unreachable();
    }
    void raiseDefault(int signal) override { inner->raiseDefault(signal); }

private:
    mutable std::mutex mutex;
    std::vector<orbEvent> events; // guarded by mutex
    IorbHostProcess *inner;
};
