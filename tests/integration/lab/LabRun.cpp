#include "LabRun.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <sstream>

#include <gtest/gtest.h>

#include "core/json_text.h"

namespace {
constexpr std::chrono::seconds PATIENCE{30};

std::string text_of(const std::string &path) {
    std::ifstream file(path, std::ios::binary);
    std::ostringstream text;
    text << file.rdbuf();
    return text.str();
}
} // namespace

LabRun::LabRun(std::string outputName) : name(std::move(outputName)) {
    char made[] = "/tmp/orb-lab-test-XXXXXX";
    if (::mkdtemp(made) == nullptr) ADD_FAILURE() << "no private folder";
    base = made;
    ::signal(SIGPIPE, SIG_IGN);
}

LabRun::~LabRun() {
    if (pid > 0) {
        ::kill(pid, SIGKILL);
        ::waitpid(pid, nullptr, 0);
    }
    for (const int fd : {in, outPipe})
        if (fd >= 0) ::close(fd);
    std::error_code failure;
    std::filesystem::remove_all(base, failure);
}

std::string LabRun::read(const std::string &file) const {
    return text_of(output() + "/" + file);
}

std::vector<Json::Value> LabRun::lines(const std::string &file) const {
    std::vector<Json::Value> all;
    std::istringstream text(read(file));
    for (std::string line; std::getline(text, line);) {
        Json::Value value;
        EXPECT_TRUE(parse_json(line, value)) << line;
        all.push_back(std::move(value));
    }
    return all;
}

void LabRun::write(const std::string &file, const std::string &text) const {
    std::ofstream(base + "/" + file) << text;
}

std::string LabRun::err() const {
    return text_of(base + "/stderr");
}

void LabRun::start(const std::vector<std::string> &arguments) {
    int toChild[2], fromChild[2];
    ASSERT_EQ(::pipe2(toChild, O_CLOEXEC), 0);
    ASSERT_EQ(::pipe2(fromChild, O_CLOEXEC), 0);
    std::vector<std::string> words{ORBLAB_PROGRAM, "--output", output()};
    words.insert(words.end(), arguments.begin(), arguments.end());
    std::vector<char *> list;
    for (std::string &word : words) list.push_back(word.data());
    list.push_back(nullptr);
    const std::string errors = base + "/stderr";

    pid = ::fork();
    ASSERT_GE(pid, 0);
    if (pid == 0) {
        ::dup2(toChild[0], STDIN_FILENO);
        ::dup2(fromChild[1], STDOUT_FILENO);
        ::dup2(::open(errors.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600), STDERR_FILENO);
        ::signal(SIGPIPE, SIG_DFL);
        ::execv(ORBLAB_PROGRAM, list.data());
        ::_exit(127);
    }
    ::close(toChild[0]);
    ::close(fromChild[1]);
    for (const int fd : {in, outPipe})
        if (fd >= 0) ::close(fd);
    in = toChild[1];
    outPipe = fromChild[0];
    outText.clear();
}

void LabRun::say(const std::string &text) {
    ASSERT_EQ(::write(in, text.data(), text.size()), static_cast<ssize_t>(text.size()));
}

void LabRun::closeInput() {
    if (in >= 0) ::close(in);
    in = -1;
}

void LabRun::closeOutput() {
    if (outPipe >= 0) ::close(outPipe);
    outPipe = -1;
}

bool LabRun::readMore(int waitMs) {
    if (outPipe < 0) return false;
    pollfd wanted{outPipe, POLLIN, 0};
    if (::poll(&wanted, 1, waitMs) <= 0) return true;
    char piece[4096];
    const ssize_t got = ::read(outPipe, piece, sizeof piece);
    if (got <= 0) return false;
    outText.append(piece, static_cast<std::size_t>(got));
    return true;
}

bool LabRun::await(const std::string &text, std::size_t times) {
    const auto end = std::chrono::steady_clock::now() + PATIENCE;
    const auto isThere = [&] {
        std::size_t found = 0;
        for (std::size_t at = outText.find(text); at != std::string::npos && found < times;
             at = outText.find(text, at + text.size()))
            ++found;
        return found >= times;
    };
    while (!isThere()) {
        if (!readMore(100) || std::chrono::steady_clock::now() > end) {
            ADD_FAILURE() << "never said: " << text << "\n" << outText << "\n" << err();
            return false;
        }
    }
    return true;
}

bool LabRun::awaitIn(const std::string &file, const std::string &text) {
    const auto end = std::chrono::steady_clock::now() + PATIENCE;
    while (read(file).find(text) == std::string::npos) {
        if (!readMore(100) || std::chrono::steady_clock::now() > end) {
            ADD_FAILURE() << "never in " << file << ": " << text << "\n" << read(file) << err();
            return false;
        }
    }
    return true;
}

int LabRun::wait() {
    while (readMore(-1)) {
    }
    int status = 0;
    ::waitpid(pid, &status, 0);
    pid = -1;
    return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
}

int LabRun::run(const std::vector<std::string> &arguments) {
    start(arguments);
    closeInput();
    return wait();
}
