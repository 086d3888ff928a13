#include "life/DaemonLife.h"

#include <fcntl.h>
#include <sys/prctl.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <iostream>

#include "daemon/orb_main.h"
#include "life/LabCommands.h"
#include "life/LabDevices.h"
#include "life/LabFiles.h"
#include "life/LabIdentity.h"
#include "life/ScaledClock.h"

namespace {
/// The lab's doors. Made on the heap and never destroyed: threads of the daemon may still use them
/// while the process ends.
struct DOORS {
    explicit DOORS(const LIFE_SETTINGS &s)
        : files(s.root, s.realSysfs), devices(s.root, s.controlSocket),
          commands(s.answerFromMemory, s.lineCount, s.countedStart),
          libraries(s.vendorFolder, s.encoderFolder), clock(s.time),
          identity(s.hostFacts + "/identity.json", s.time), syslog(s.root + "/var/log/syslog") {
        IorbHostFiles::replace(&files);
        IorbHostDevices::replace(&devices);
        IorbHostCommands::replace(&commands);
        IorbHostLibraries::replace(&libraries);
        IorbHostClock::replace(&clock);
        IorbHostIdentity::replace(&identity);
        IorbHostSyslog::replace(&syslog);
    }
    LabFiles files;
    LabDevices devices;
    LabCommands commands;
    LabLibraries libraries;
    ScaledClock clock;
    LabIdentity identity;
    LabSyslog syslog;
};
DOORS *doors = nullptr;

void use_streams(const std::string &outputFile) {
    const int in = ::open("/dev/null", O_RDONLY);
    const int out = ::open(outputFile.c_str(), O_WRONLY | O_CREAT | O_APPEND, 0600);
    if (in >= 0) ::dup2(in, STDIN_FILENO);
    if (out >= 0) {
        ::dup2(out, STDOUT_FILENO);
        ::dup2(out, STDERR_FILENO);
    }
}

[[noreturn]] void live(const LIFE_SETTINGS &settings, pid_t world) {
    // A world that dies takes the daemon with it; the terminal's signals are for the world alone.
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
    if (::getppid() != world) ::_exit(1);
    ::setpgid(0, 0);
    use_streams(settings.outputFile);
    const auto control = static_cast<unsigned>(settings.controlSocket);
    ::close_range(STDERR_FILENO + 1, control - 1, 0);
    ::close_range(control + 1, ~0U, 0);

    const char *path = std::getenv("PATH");
    ::setenv("PATH",
             (settings.commandFolders + ":" + (path != nullptr ? path : "/usr/bin:/bin")).c_str(),
             1);
    ::setenv("ORB_LAB_HOST", settings.hostFacts.c_str(), 1);
    ::setenv("ORB_LAB_WORLD", settings.vendorWorld.c_str(), 1);
    for (const char *name : {"NOTIFY_SOCKET", "ORB_ROOT"}) ::unsetenv(name);
    for (const int signal : {SIGINT, SIGTERM, SIGHUP, SIGPIPE, SIGCHLD}) ::signal(signal, SIG_DFL);
    ::sigprocmask(SIG_SETMASK, &settings.signalMask, nullptr);

    doors = new DOORS(settings);
    char name[] = "orbd", option[] = "--foreground";
    char *arguments[] = {name, option, nullptr};
    std::exit(orb_main(2, arguments));
}
} // namespace

pid_t begin_life(const LIFE_SETTINGS &settings) {
    std::fflush(nullptr);
    std::cout.flush();
    const pid_t world = ::getpid();
    const pid_t pid = ::fork();
    if (pid == 0) live(settings, world);
    return pid;
}
