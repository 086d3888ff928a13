#include "platform/orbVmwareOSInterface.h"

#include <fcntl.h>
#include <unistd.h>

#include <string>

#include "hostaccess/orbHostCommands.h"
#include "hostaccess/orbHostFiles.h"
#include "platform/hardware_list.h"

orbVmwareOSInterface *orbVmwareOSInterface::getInstance() {
    static orbVmwareOSInterface instance;
    return &instance;
}

int orbVmwareOSInterface::populateHardwarePCIDetails() {
    IorbHostCommands &commands = IorbHostCommands::get();
    int err = 0; // the caller has no use for the reason
    std::FILE *stream =
        commands.popen("localcli hardware pci list > " + shell_path(HARDWARE_LIST), &err);
    if (stream == nullptr) return -1;
    // A command that fails leaves an empty file or none, and every look-up in it finds nothing.
    (void)commands.pclose(stream);
    return 0;
}

void orbVmwareOSInterface::Initialize() {}

void orbVmwareOSInterface::UnInitialize() {
    const std::string path = IorbHostFiles::get().map(HARDWARE_LIST);
    const int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0) return;
    ::close(fd);
    ::unlink(path.c_str());
}
