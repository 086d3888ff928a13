#pragma once

#include <algorithm>
#include <cstdint>

/// How long a stop may take: a time without progress, begun anew by each progress, and a time in
/// all. Pure; the caller tells the time.
class orbStopLimit {
public:
    enum VERDICT { GOES_ON, NO_PROGRESS, TOO_LONG };

    orbStopLimit(std::int64_t beginMs, std::int64_t patienceMs, std::int64_t totalMs)
        : patience(patienceMs), progressAt(beginMs), end(beginMs + totalMs) {}

    void progress(std::int64_t atMs) { progressAt = std::max(progressAt, atMs); }
    /// When judge() has to be asked next.
    std::int64_t deadlineMs() const { return std::min(progressAt + patience, end); }
    VERDICT judge(std::int64_t nowMs) const {
        if (nowMs >= end) return TOO_LONG;
        return nowMs >= progressAt + patience ? NO_PROGRESS : GOES_ON;
    }

private:
    std::int64_t patience;
    std::int64_t progressAt;
    std::int64_t end;
};
