#include "hostaccess/orbHostSyslog.h"

#include <syslog.h>

#include <mutex>

#include "hostaccess/orbSeam.h"

namespace {
constinit std::mutex syslogLock; // one caller between openlog and closelog

class HostSyslog final : public IorbHostSyslog {
public:
    void write(const char *ident, int facility, int priority, const char *text) override {
        const std::lock_guard<std::mutex> lock(syslogLock);
        ::openlog(ident, 0, facility);
        ::syslog(priority, "%s", text);
        ::closelog();
    }
};
constinit orbImmortal<HostSyslog> host;
constinit orbSeam<IorbHostSyslog> seam{host.value};
} // namespace

IorbHostSyslog &IorbHostSyslog::get() {
    return seam.get();
}
IorbHostSyslog *IorbHostSyslog::replace(IorbHostSyslog *next) {
    return seam.replace(next);
}
