#pragma once

#include <mutex>
#include <string>
#include <vector>

#include "hostaccess/orbHostSyslog.h"

/// Keeps what goes to the system log. Any thread may write and ask.
class CapturedSyslog final : public IorbHostSyslog {
public:
    struct Line {
        std::string ident;
        int facility;
        int priority;
        std::string text;
    };

    CapturedSyslog() : outer(replace(this)) {}
    ~CapturedSyslog() override { replace(outer); }
    CapturedSyslog(const CapturedSyslog &) = delete;
    CapturedSyslog &operator=(const CapturedSyslog &) = delete;

    void write(const char *ident, int facility, int priority, const char *text) override {
        const std::lock_guard<std::mutex> lock(mutex);
        kept.push_back({ident, facility, priority, text});
    }
    std::vector<Line> lines() const {
        const std::lock_guard<std::mutex> lock(mutex);
        return kept;
    }
    /// How many lines of this priority hold the text. @param priority  -1 for any
    int count(int priority, const std::string &part) const {
        int found = 0;
        for (const Line &line : lines())
            if ((priority < 0 || line.priority == priority) &&
                line.text.find(part) != std::string::npos)
                ++found;
        return found;
    }

private:
    mutable std::mutex mutex;
    std::vector<Line> kept; // guarded by mutex
    IorbHostSyslog *outer;
};
