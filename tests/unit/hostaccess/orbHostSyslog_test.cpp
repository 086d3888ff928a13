#include "hostaccess/orbHostSyslog.h"

#include <cstdarg>
#include <mutex>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace {
std::mutex callsLock;
std::vector<std::string> calls; // guarded by callsLock

void note(const std::string &call) {
    const std::lock_guard<std::mutex> lock(callsLock);
    calls.push_back(call);
}
void note_write(int priority, const char *format, std::va_list args) {
    const char *text = va_arg(args, const char *);
    note("write " + std::to_string(priority) + ' ' + format + ' ' + text);
}

constexpr int FACILITY_USER = 8, PRIORITY_WARNING = 4;
} // namespace

// This program's own system log: the C library's would reach the machine that runs the tests. The
// system's header is left out, because a hardened build declares one of these inline.
extern "C" {
void openlog(const char *ident, int option, int facility);
void syslog(int priority, const char *format, ...);
void __syslog_chk(int priority, int flag, const char *format, ...);
void closelog();

void openlog(const char *ident, int option, int facility) {
    note(std::string("open ") + ident + ' ' + std::to_string(option) + ' ' +
         std::to_string(facility));
}
void syslog(int priority, const char *format, ...) {
    std::va_list args;
    va_start(args, format);
    note_write(priority, format, args);
    va_end(args);
}
void __syslog_chk(int priority, int, const char *format, ...) {
    std::va_list args;
    va_start(args, format);
    note_write(priority, format, args);
    va_end(args);
}
void closelog() {
    note("close");
}
}

TEST(HostSyslog, OpensWritesAndClosesForEachText) {
    IorbHostSyslog::get().write("orb", FACILITY_USER, PRIORITY_WARNING, "100%s %n");
    const std::vector<std::string> wanted = {"open orb 0 8", "write 4 %s 100%s %n", "close"};
    EXPECT_EQ(calls, wanted);
}
