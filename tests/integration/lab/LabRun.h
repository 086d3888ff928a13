#pragma once

#include <sys/types.h>

#include <string>
#include <vector>

#include <json/json.h>

/// One run of the built orblab, with a folder of its own that goes when it does.
class LabRun {
public:
    /// @param outputName  of the output folder below the private one; may hold any characters
    explicit LabRun(std::string outputName = "out");
    ~LabRun(); ///< ends a run that is still going, and everything it made
    LabRun(const LabRun &) = delete;
    LabRun &operator=(const LabRun &) = delete;

    const std::string &folder() const { return base; }
    std::string output() const { return base + "/" + name; }
    std::string read(const std::string &file) const; ///< below output(); "" where it is missing
    std::vector<Json::Value> lines(const std::string &file) const; ///< of a .jsonl below output()
    void write(const std::string &file, const std::string &text) const; ///< below folder()

    /// Starts it with `--output` in front of the arguments.
    void start(const std::vector<std::string> &arguments);
    void say(const std::string &text); ///< to its standard input
    void closeInput();
    void closeOutput(); ///< the reader of its standard output goes away
    /// Waits until standard output holds the text so many times; the test fails where it ends or
    /// half a minute goes by without.
    bool await(const std::string &text, std::size_t times = 1);
    bool awaitIn(const std::string &file, const std::string &text); ///< the same in read(file)
    int wait(); ///< for its end. @return exit status; minus the signal that ended it
    int run(const std::vector<std::string> &arguments); ///< start, closed input, wait

    pid_t process() const { return pid; }
    const std::string &out() const { return outText; } ///< standard output so far
    std::string err() const;                           ///< standard error so far

private:
    bool readMore(int waitMs);
    std::string base;
    const std::string name;
    pid_t pid = -1;
    int in = -1, outPipe = -1;
    std::string outText;
};
