#pragma once

#include <functional>
#include <map>
#include <mutex>
#include <string>
#include <vector>

#include "hostaccess/orbHostCommands.h"

/// Answers shell lines by their exact text, in any order and as often as they come. A line that
/// nobody announced fails the test, and so does an answer that is never closed. No shell is ever
/// started. Any thread; an answer may be changed while others ask.
class ScriptedCommands final : public IorbHostCommands {
public:
    ScriptedCommands() : outer(replace(this)) {}
    ~ScriptedCommands() override;
    ScriptedCommands(const ScriptedCommands &) = delete;
    ScriptedCommands &operator=(const ScriptedCommands &) = delete;

    /// The answer to a system() line. @param action  done before the answer, such as writing a
    /// file; on the thread that asks and with no lock held, so it may wait
    void onSystem(const std::string &line, ORB_COMMAND_RESULT result,
                  std::function<void()> action = {});
    /// The output of a popen() line. @param status  what pclose() gives for it
    void onPopen(const std::string &line, const std::string &output, int status = 0);
    /// A popen() line that can't be started.
    void failPopen(const std::string &line, int errorNumber);

    std::vector<std::string> calls() const; ///< all lines so far, in order

    ORB_COMMAND_RESULT system(const std::string &line) override;
    std::FILE *popen(const std::string &line, int *err) override;
    int pclose(std::FILE *stream) override;

private:
    struct SystemAnswer {
        ORB_COMMAND_RESULT result;
        std::function<void()> action;
    };
    struct PopenAnswer {
        std::string output;
        int err;
        int status;
    };

    mutable std::mutex mutex; // guards all below
    std::map<std::string, SystemAnswer> systemAnswers;
    std::map<std::string, PopenAnswer> popenAnswers;
    std::map<std::FILE *, int> streams; // opened and not closed, with their status
    std::vector<std::string> lines;
    IorbHostCommands *outer;
};
