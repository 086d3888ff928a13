#pragma once

#include <atomic>
#include <cstdint>
#include <map>
#include <mutex>
#include <string>

#include "hostaccess/orbHostCommands.h"

/// A shell line that sends its standard output to a file.
struct REDIRECTED_LINE {
    std::string command; ///< without the redirection
    std::string file;    ///< with the shell's quotes taken off; empty where there is none
    std::string word;    ///< the same as it stands in the line
    bool append = false;
};
/// Takes the redirection off a line's end.
REDIRECTED_LINE split_redirection(const std::string &line);

/// The shell of the simulated server. Lines run as they are, with the lab's own host commands first
/// in PATH. The lines that load the IPMI driver's modules or make its device node succeed without
/// being run: they would change the machine that the lab runs on. Any thread; what answers from
/// memory puts the lines one behind the other.
class LabCommands final : public IorbHostCommands {
public:
    /// @param answerFromMemory  each line is run once; from then on its recorded output and status
    ///                          answer in process, and the data file is made as the shell would;
    ///                          a line that names such a file is another one with each command
    ///                          that wrote the file last
    /// @param lineCount  counts the lines that ran, where it is not null; may lie in shared memory
    /// @param countedStart  what a line must begin with to be counted; empty: all are
    explicit LabCommands(bool answerFromMemory, std::atomic<std::uint64_t> *lineCount = nullptr,
                         std::string countedStart = {})
        : fromMemory(answerFromMemory), lines(lineCount), counted(std::move(countedStart)) {}
    ORB_COMMAND_RESULT system(const std::string &line) override;
    std::FILE *popen(const std::string &line, int *err) override;
    int pclose(std::FILE *stream) override;

    static bool changesTheMachine(const std::string &line);

private:
    struct RECORDED {
        std::string output;
        int status = 0;
    };
    const RECORDED &recordedLocked(const std::string &command);
    int writeLocked(const REDIRECTED_LINE &line, const std::string &output);

    void count(const std::string &line);

    const bool fromMemory;
    std::atomic<std::uint64_t> *const lines;
    const std::string counted;
    std::mutex lock;                            // guards all below
    std::map<std::string, RECORDED> memory;     // by command and what its files hold
    std::map<std::string, std::string> writers; // by a file's word: the command that wrote it last
    std::map<std::FILE *, int> open;            // answered from memory, with their status
};
