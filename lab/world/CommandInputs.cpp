#include "world/CommandInputs.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

namespace {
constexpr std::size_t LINE_LIMIT = 4096;
}

CommandInputs::~CommandInputs() {
    if (fifo >= 0) ::close(fifo);
    if (!madeFifo.empty()) ::unlink(madeFifo.c_str());
}

void CommandInputs::useStandardInput() {
    inputs.push_back({STDIN_FILENO, {}});
}

bool CommandInputs::useFifo(const std::string &path, std::string &error) {
    if (::mkfifo(path.c_str(), 0600) == 0) {
        madeFifo = path;
    } else if (errno != EEXIST) {
        error = path + ": " + std::strerror(errno);
        return false;
    }
    struct stat kind {};
    if (::stat(path.c_str(), &kind) != 0 || !S_ISFIFO(kind.st_mode)) {
        error = path + ": is no FIFO";
        return false;
    }
    // Open for writing too: a writer that goes away is then no end of the input.
    fifo = ::open(path.c_str(), O_RDWR | O_NONBLOCK | O_CLOEXEC);
    if (fifo < 0) {
        error = path + ": " + std::strerror(errno);
        return false;
    }
    inputs.push_back({fifo, {}});
    return true;
}

void CommandInputs::addTo(std::vector<pollfd> &wanted) const {
    for (const INPUT &each : inputs) wanted.push_back({each.fd, POLLIN, 0});
}

std::vector<std::string> CommandInputs::read(const std::vector<pollfd> &found) {
    std::vector<std::string> lines;
    for (auto input = inputs.begin(); input != inputs.end();) {
        bool ready = false;
        for (const pollfd &each : found)
            ready = ready || (each.fd == input->fd && each.revents != 0);
        if (!ready) {
            ++input;
            continue;
        }
        char piece[1024];
        const ssize_t got = ::read(input->fd, piece, sizeof piece);
        if (got < 0 && (errno == EAGAIN || errno == EINTR)) {
            ++input;
            continue;
        }
        for (ssize_t i = 0; i < got; ++i) {
            if (piece[i] == '\n') {
                lines.push_back(std::move(input->partial));
                input->partial.clear();
            } else if (input->partial.size() < LINE_LIMIT) {
                input->partial += piece[i];
            }
        }
        if (got > 0) {
            ++input;
            continue;
        }
        if (!input->partial.empty()) lines.push_back(std::move(input->partial));
        input = inputs.erase(input); // its end; the lab runs on
    }
    return lines;
}
