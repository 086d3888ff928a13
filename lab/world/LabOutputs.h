#pragma once

#include <cstdio>
#include <fstream>
#include <string>

#include <json/json.h>

#include "rmc/Rmc.h"

/// What the lab tells: files in the output folder, and lines for a person or a program on standard
/// output. Errors go to standard error as "orblab: what: why". One thread.
class LabOutputs {
public:
    struct STYLE {
        bool quiet = false;     ///< no lines for a person
        bool json = false;      ///< one JSON object a line instead
        bool progress = false;  ///< progress lines, as on a terminal
        bool transcript = true; ///< keep the file of all messages
    };
    explicit LabOutputs(const STYLE &wanted) : style(wanted) {}

    /// Starts the files anew; `error` takes "path: why".
    bool open(const std::string &folder, std::string &error);

    // `at` is the lab's time in seconds since its start.
    void progress(double at, const std::string &text);
    void inventory(double at, const RMC_DOCUMENT &document, std::size_t messages);
    void event(double at, const RMC_DOCUMENT &document);
    void violation(double at, const std::string &text);
    void note(double at, const std::string &text); ///< the answer to a command; as it stands
    void result(double at, bool good, const std::string &text);
    void message(double at, int life, std::uint8_t netfn, std::uint8_t cmd,
                 std::span<const std::uint8_t> request, const RMC_REPLY &reply,
                 const std::string &meaning);

    /// Something that was to be told or kept is lost: a reader that went away, a full disk. The
    /// first loss has been told on standard error.
    bool hasFailed() const { return failed; }

    static void complain(const std::string &what); ///< "what: why" to standard error

private:
    void lost(const std::string &what, int error);
    void line(const std::string &text);
    void append(std::ofstream &file, const char *name, const std::string &text);
    void replace(const char *name, const std::string &text);
    void record(const char *kind, double at, Json::Value content);

    const STYLE style;
    std::string folder;
    std::string lastSummary; // the table is shown when it says something new
    std::ofstream events, transcript;
    bool failed = false;
};
