#include "platform/platformCheck.h"

#include <syslog.h>

#include <cerrno>
#include <cstdlib>
#include <memory>

#include "core/format_text.h"
#include "core/orbMutexLocker.h"
#include "core/orbUtils.h"
#include "hostaccess/orbHostSyslog.h"
#include "physloc/smbios_reader.h"

constinit std::mutex platformCheck::platformCheckLock;

namespace {
// The logger may not be there yet when the first path is asked for.
void write_syslog(int priority, const std::string &text) {
    IorbHostSyslog::get().write("orb", LOG_USER, priority, text.c_str());
}
} // namespace

std::string platformCheck::getCardManufacturer() {
    return getValue(&INSTALLATION::cardManufacturer);
}

std::string platformCheck::getDirectoryPath() {
    return getValue(&INSTALLATION::directoryPath);
}

std::string platformCheck::getStartupFilePath() {
    return getValue(&INSTALLATION::startupFilePath);
}

void platformCheck::setDirectoryPath() {
    const orbMutexLocker<std::mutex> lock(platformCheckLock);
    setDirectoryPathLocked();
}

platformCheck::INSTALLATION &platformCheck::installation() {
    static INSTALLATION values;
    return values;
}

std::string platformCheck::getValue(std::string INSTALLATION::*value) {
    const orbMutexLocker<std::mutex> lock(platformCheckLock);
    if ((installation().*value).empty()) setDirectoryPathLocked();
    return installation().*value;
}

void platformCheck::setDirectoryPathLocked() {
    INSTALLATION &values = installation();
    // The reader is left running: what asks it for the machine's family later relies on that.
    if (SmBiosInit() != 0) {
        const int err = errno;
        write_syslog(LOG_INFO, format_text("Error starting SMBIOS table, Error : %d , Reason : %s",
                                           err, orbUtils::getErrorDescription(err).c_str()));
    } else {
        void *array = nullptr;
        int count = 0;
        const int result = getSmbiosRecordsByType(TYPE_SYSTEM_INFO, &array, &count);
        const std::unique_ptr<void, decltype(&std::free)> owner(array, &std::free);
        if (result != 0)
            write_syslog(LOG_WARNING,
                         format_text("Unable to fetch smbios type %d record", TYPE_SYSTEM_INFO));
        if (array != nullptr && count != 0)
            values.cardManufacturer = static_cast<const DmiSystemInfo *>(array)->manufacturer;
    }
    values.directoryPath = "/opt/vantor/orb";
    values.startupFilePath = "/var/tmp/vantor";
}
