#include "network/nic_commands.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>

#include "hostaccess/orbHostCommands.h"
#include "hostaccess/orbHostFiles.h"

namespace {
constexpr std::size_t MOST_OUTPUT_BYTES = 64 * 1024;
constexpr std::size_t MOST_FILE_BYTES = 1024 * 1024;
} // namespace

std::string ORB_COMMAND_OUTPUT::joined() const {
    std::string text;
    for (const std::string &piece : pieces) text += piece;
    return text;
}

ORB_COMMAND_OUTPUT read_command(const std::string &line, std::size_t pieceBytes) {
    ORB_COMMAND_OUTPUT output;
    IorbHostCommands &commands = IorbHostCommands::get();
    std::FILE *stream = commands.popen(line, &output.err);
    if (stream == nullptr) return output;
    output.started = true;
    std::string buffer(pieceBytes + 1, '\0');
    for (std::size_t taken = 0;
         taken < MOST_OUTPUT_BYTES &&
         std::fgets(buffer.data(), static_cast<int>(buffer.size()), stream) != nullptr;) {
        output.pieces.emplace_back(buffer.c_str());
        taken += output.pieces.back().size() + 1; // a piece that begins with a NUL counts too
    }
    (void)commands.pclose(stream);
    return output;
}

bool run_command(const std::string &line) {
    IorbHostCommands &commands = IorbHostCommands::get();
    int err = 0; // the callers' log lines don't tell it
    std::FILE *stream = commands.popen(line, &err);
    if (stream == nullptr) return false;
    (void)commands.pclose(stream);
    return true;
}

int read_data_file(const std::string &hostPath, std::string &text) {
    text.clear();
    const std::string path = IorbHostFiles::get().map(hostPath);
    const int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0) return errno;
    char buffer[16 * 1024];
    while (text.size() < MOST_FILE_BYTES) {
        const ssize_t got = ::read(fd, buffer, sizeof buffer);
        if (got <= 0) break; // what a failing read leaves out is as if the command had not told it
        text.append(buffer, static_cast<std::size_t>(got));
    }
    ::close(fd);
    return 0;
}

void remove_data_file(const std::string &hostPath) {
    ::unlink(IorbHostFiles::get().map(hostPath).c_str());
}
