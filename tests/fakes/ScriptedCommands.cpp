#include "fakes/ScriptedCommands.h"

#include <cerrno>
#include <utility>

#include <gtest/gtest.h>

ScriptedCommands::~ScriptedCommands() {
    replace(outer);
    EXPECT_TRUE(streams.empty()) << "a command's output was left open";
}

void ScriptedCommands::onSystem(const std::string &line, ORB_COMMAND_RESULT result,
                                std::function<void()> action) {
    const std::lock_guard<std::mutex> lock(mutex);
    systemAnswers[line] = {result, std::move(action)};
}

void ScriptedCommands::onPopen(const std::string &line, const std::string &output, int status) {
    const std::lock_guard<std::mutex> lock(mutex);
    popenAnswers[line] = {output, 0, status};
}

void ScriptedCommands::failPopen(const std::string &line, int errorNumber) {
    const std::lock_guard<std::mutex> lock(mutex);
    popenAnswers[line] = {"", errorNumber, 0};
}

std::vector<std::string> ScriptedCommands::calls() const {
    const std::lock_guard<std::mutex> lock(mutex);
    return lines;
}

ORB_COMMAND_RESULT ScriptedCommands::system(const std::string &line) {
    SystemAnswer answer{{-1, ENOSYS}, {}};
    {
        const std::lock_guard<std::mutex> lock(mutex);
        lines.push_back(line);
        const auto found = systemAnswers.find(line);
        if (found == systemAnswers.end()) {
            ADD_FAILURE() << "nobody announced the line: " << line;
            return answer.result;
        }
        answer = found->second;
    }
    if (answer.action) answer.action();
    return answer.result;
}

std::FILE *ScriptedCommands::popen(const std::string &line, int *err) {
    const std::lock_guard<std::mutex> lock(mutex);
    lines.push_back(line);
    const auto found = popenAnswers.find(line);
    if (found == popenAnswers.end()) {
        ADD_FAILURE() << "nobody announced the line: " << line;
        *err = ENOSYS;
        return nullptr;
    }
    *err = found->second.err;
    if (*err != 0) return nullptr;
    std::FILE *stream = std::tmpfile();
    if (stream == nullptr) {
        ADD_FAILURE() << "no temporary file";
        *err = ENOSPC;
        return nullptr;
    }
    std::fwrite(found->second.output.data(), 1, found->second.output.size(), stream);
    std::rewind(stream);
    streams[stream] = found->second.status;
    return stream;
}

int ScriptedCommands::pclose(std::FILE *stream) {
    const std::lock_guard<std::mutex> lock(mutex);
    const auto found = streams.find(stream);
    if (found == streams.end()) {
        ADD_FAILURE() << "not the output of a command, or closed before";
        return -1;
    }
    const int status = found->second;
    streams.erase(found);
    return std::fclose(stream) == 0 ? status : -1;
}
