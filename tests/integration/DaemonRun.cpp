#include "integration/DaemonRun.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <fstream>

#include <gtest/gtest.h>

#include "core/Logger.h"
#include "core/orbJobManager.h"
#include "daemon/orb_main.h"
#include "reporting/orbIPMIDBService.h"
#include "reporting/orbJsonAggregator.h"
#include "reporting/orbServer.h"

namespace {
constexpr int LONGEST_WAIT_MS = 20000;
constexpr char HEADS_AND_VALUES[] =
    "\"(PDH-CSV 4.0) (UTC)(0)\",\"\\\\host\\Memory\\Machine MBytes\","
    "\"\\\\host\\Memory\\Free MBytes\",\n\"01/03/2026 08:04:09\",\"1048575\",\"984255\",\n";

const char *thread_name(void *(*entry)(void *)) {
    if (entry == initializeResourceManager) return "manager";
    if (entry == startTestEventServer) return "control server";
    if (entry == startInventoryPushThread) return "aggregator";
    if (entry == startIPMIDBMonitor) return "door bell";
    return nullptr; // one of the entry program's own
}

void note_in_log(const std::string &text) {
    ORB_LOG_DEBUG("TEST", text);
}

void append(const std::string &path, const std::string &text) {
    std::ofstream(path, std::ios::app) << text;
}

void send_stream_to(const std::string &path, int stream) {
    const int fd = ::open(path.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0600);
    if (fd < 0 || ::dup2(fd, stream) < 0) std::abort();
    ::close(fd);
}
} // namespace

void HostCommands::note(const std::string &line) {
    append(root.map("/calls"), line + "\n");
    note_in_log("command " + line);
}

ORB_COMMAND_RESULT HostCommands::system(const std::string &line) {
    note(line);
    constexpr char INTERFACES[] = "localcli network nic list >> ";
    if (line.starts_with(INTERFACES)) {
        append(line.substr(sizeof INTERFACES - 1), "Name  PCI Device\n----  ----------\n");
        return {0, 0};
    }
    constexpr char LINKS[] = "localcli network nic list | /usr/bin/awk '{print$1, $5}' >>";
    if (line.starts_with(LINKS)) {
        append(line.substr(sizeof LINKS - 1), "Name Device\n---- \n");
        return {0, 0};
    }
    // A host without Fibre Channel: the filters find nothing.
    if (line.starts_with("localcli hardware pci list | grep ") ||
        line.starts_with("localcli storage san fc list | grep "))
        return {256, 0};
    const std::size_t into = line.find(" >> ");
    if (!line.starts_with("esxtop -c ") || into == std::string::npos) {
        ADD_FAILURE() << "unexpected line " << line;
        return {-1, ENOSYS};
    }
    if (onEsxtop) onEsxtop();
    append(line.substr(into + 4), HEADS_AND_VALUES);
    return {0, 0};
}

std::FILE *HostCommands::popen(const std::string &line, int *err) {
    note(line);
    *err = 0;
    const char *answer = "";
    constexpr char LIST[] = "localcli hardware pci list > ";
    if (line.starts_with(LIST)) {
        append(line.substr(sizeof LIST - 1), "0000:00:00.0\n");
    } else if (line.find("system version get") != std::string::npos) {
        answer = line.find("Product") != std::string::npos ? "   Product: Test OS\n"
                                                           : "   Version: 1.2.3\n";
    } else {
        ADD_FAILURE() << "unexpected line " << line;
    }
    std::FILE *stream = std::tmpfile();
    std::fputs(answer, stream);
    std::rewind(stream);
    return stream;
}

int HostCommands::pclose(std::FILE *stream) {
    return std::fclose(stream);
}

int NotedProcess::createThread(pthread_t *out, void *(*entry)(void *), void *arg) {
    const char *const name = thread_name(entry);
    if (name == nullptr) return inner->createThread(out, entry, arg);
    note_in_log(std::string("create ") + name);
    if (failFrom >= 0 && creations++ >= failFrom) return EAGAIN;
    return inner->createThread(out, entry, arg);
}

int NotedProcess::joinThread(pthread_t thread, const char *name) {
    const int rc = inner->joinThread(thread, name);
    if (std::string_view(name) != "signal guard") note_in_log(std::string("joined ") + name);
    if (onJoined) onJoined(name);
    return rc;
}

void NotedProcess::exitNow(int status) {
    inner->exitNow(status);
    __builtin_unreachable();
}

void FileSyslog::write(const char *ident, int facility, int priority, const char *text) {
    append(root.map("/syslog"), std::string(ident) + " " + std::to_string(facility) + " " +
                                    std::to_string(priority) + " " + text + "\n");
    if (onWrite) onWrite();
}

Sign::Sign() {
    if (::pipe2(ends, O_CLOEXEC) != 0) std::abort();
}
Sign::~Sign() {
    ::close(ends[0]);
    ::close(ends[1]);
}
void Sign::give() const {
    if (::write(ends[1], "!", 1) != 1) std::abort();
}
bool Sign::await() const {
    pollfd wanted{ends[0], POLLIN, 0};
    char byte;
    return ::poll(&wanted, 1, LONGEST_WAIT_MS) == 1 && ::read(ends[0], &byte, 1) == 1;
}

DaemonRun::DaemonRun(FakeRmc::Responder answers) : rmc(std::move(answers)) {
    for (const char *directory : {"/opt/vantor/orb/log", "/opt/vantor/orb/data", "/var/tmp",
                                  "/var/run", "/run", "/tmp", "/scratch/log/vantor/orb"})
        root.makeDirectory(directory);
    root.write("/opt/vantor/orb/data/esxtopconf", "abcd\n5m\n");
    configure("");

    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    const std::string path = root.map("/notify");
    path.copy(address.sun_path, sizeof address.sun_path - 1);
    notifications = ::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    if (::bind(notifications, reinterpret_cast<sockaddr *>(&address), sizeof address) != 0)
        ADD_FAILURE() << "no notification socket";
    ::setenv("NOTIFY_SOCKET", path.c_str(), 1);
}

DaemonRun::~DaemonRun() {
    ::close(notifications);
}

void DaemonRun::configure(const std::string &more) {
    // Of a key that comes twice the last counts.
    root.write(CONFIG, std::string(R"({"LoggingLevel": "Info", "EnableDebugLog": "true", )") +
                           R"("ORBLogLocation": ")" + LOG + R"(", "DebugLogLocation": ")" + LOG +
                           '"' + (more.empty() ? "" : ", ") + more + "}");
}

pid_t DaemonRun::start(const std::vector<std::string> &arguments) {
    const pid_t child = ::fork();
    if (child == 0) live(arguments);
    return child;
}

// An exception that leaves orb_main() must not get as far as the test's own catch.
void DaemonRun::live(const std::vector<std::string> &arguments) noexcept {
    send_stream_to(root.map("/stdout"), STDOUT_FILENO);
    send_stream_to(root.map("/stderr"), STDERR_FILENO);
    std::vector<std::string> texts = {"orbd"};
    texts.insert(texts.end(), arguments.begin(), arguments.end());
    std::vector<char *> argv;
    for (std::string &text : texts) argv.push_back(text.data());
    argv.push_back(nullptr);
    const int status = orb_main(static_cast<int>(texts.size()), argv.data());
    if (afterwards) afterwards();
    // A failure noted on the way shows as a status that the daemon never has.
    std::exit(::testing::Test::HasFailure() ? 99 : status);
}

bool DaemonRun::hasState() const {
    pollfd wanted{notifications, POLLIN, 0};
    return ::poll(&wanted, 1, 0) == 1;
}

bool DaemonRun::awaitState(const std::string &state) {
    pollfd wanted{notifications, POLLIN, 0};
    if (::poll(&wanted, 1, LONGEST_WAIT_MS) != 1) return false;
    char text[64];
    const ssize_t got = ::recv(notifications, text, sizeof text, 0);
    return got > 0 && state == std::string_view(text, static_cast<std::size_t>(got));
}

int DaemonRun::end(pid_t process) {
    int status = 0;
    if (::waitpid(process, &status, 0) != process) return 98;
    return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
}

::testing::AssertionResult holds_in_order(const std::string &text,
                                          const std::vector<std::string> &parts) {
    std::size_t from = 0;
    for (const std::string &part : parts) {
        const std::size_t at = text.find(part, from);
        if (at == std::string::npos)
            return ::testing::AssertionFailure()
                   << "\"" << part << "\" is missing"
                   << (text.find(part) == std::string::npos ? "" : " at its place") << " in:\n"
                   << text;
        from = at + part.size();
    }
    return ::testing::AssertionSuccess();
}
