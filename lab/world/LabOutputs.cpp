#include "world/LabOutputs.h"

#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <utility>

#include "core/format_text.h"
#include "core/json_text.h"
#include "world/summary.h"

namespace {
std::string hex_of(std::span<const std::uint8_t> bytes) {
    static constexpr char DIGITS[] = "0123456789abcdef";
    std::string text;
    text.reserve(bytes.size() * 2);
    for (const std::uint8_t byte : bytes) {
        text += DIGITS[byte >> 4];
        text += DIGITS[byte & 0xF];
    }
    return text;
}

std::string clock_text(double at) {
    const auto seconds = static_cast<long long>(at);
    return format_text("%3lld:%02lld", seconds / 60, seconds % 60);
}

/// Replaces a file as one step: whoever watches it never sees half a document. @return 0 or errno
int replace_file(const std::string &path, const std::string &text) {
    const std::string fresh = path + ".new";
    errno = 0;
    std::ofstream file(fresh, std::ios::binary | std::ios::trunc);
    file << text;
    file.close();
    if (file && ::rename(fresh.c_str(), path.c_str()) == 0) return 0;
    const int error = errno != 0 ? errno : EIO;
    ::unlink(fresh.c_str());
    return error;
}
} // namespace

void LabOutputs::complain(const std::string &what) {
    std::fflush(stdout);
    std::fprintf(stderr, "orblab: %s\n", printable(what).c_str());
}

bool LabOutputs::open(const std::string &outputFolder, std::string &error) {
    folder = outputFolder;
    std::error_code failure;
    for (const char *name : {"/inventory.json", "/summary.txt"})
        std::filesystem::remove(folder + name, failure);
    events.open(folder + "/events.jsonl", std::ios::trunc);
    if (style.transcript) transcript.open(folder + "/transcript.jsonl", std::ios::trunc);
    if (events && (!style.transcript || transcript)) return true;
    error = folder + ": can't be written";
    return false;
}

void LabOutputs::lost(const std::string &what, int error) {
    if (!failed) complain(what + ": " + std::strerror(error));
    failed = true;
}

void LabOutputs::line(const std::string &text) {
    if (std::fprintf(stdout, "%s\n", text.c_str()) < 0 || std::fflush(stdout) != 0)
        lost("standard output", errno);
}

void LabOutputs::append(std::ofstream &file, const char *name, const std::string &text) {
    errno = 0;
    file << text << std::endl;
    if (!file) lost(folder + name, errno != 0 ? errno : EIO);
}

void LabOutputs::replace(const char *name, const std::string &text) {
    const int error = replace_file(folder + name, text);
    if (error != 0) lost(folder + name, error);
}

void LabOutputs::record(const char *kind, double at, Json::Value content) {
    content["kind"] = kind;
    content["at"] = at;
    line(compact_json(content));
}

void LabOutputs::progress(double at, const std::string &text) {
    if (style.json) {
        Json::Value content;
        content["text"] = text;
        record("progress", at, std::move(content));
    } else if (style.progress && !style.quiet) {
        line(clock_text(at) + "  " + printable(text));
    }
}

void LabOutputs::inventory(double at, const RMC_DOCUMENT &document, std::size_t messages) {
    Json::StreamWriterBuilder writer;
    writer["indentation"] = "  ";
    replace("/inventory.json", Json::writeString(writer, document.value) + "\n");
    const std::string summary = summary_text(document.value);
    replace("/summary.txt", summary);
    if (style.json) {
        Json::Value content;
        content["inventory"] = document.value;
        content["messages"] = Json::Value::UInt64{messages};
        record("inventory", at, std::move(content));
    } else if (!style.quiet) {
        line(format_text("%s  inventory received: %zu bytes in %zu messages",
                         clock_text(at).c_str(), document.text.size(), messages));
        if (summary == lastSummary) return;
        line("");
        line(summary);
        lastSummary = summary;
    }
}

void LabOutputs::event(double at, const RMC_DOCUMENT &document) {
    append(events, "/events.jsonl", document.text);
    if (style.json) {
        Json::Value content;
        content["event"] = document.value;
        record("event", at, std::move(content));
    } else if (!style.quiet) {
        line("event  " + event_line(document.value));
    }
}

void LabOutputs::violation(double at, const std::string &text) {
    complain("message to the RMC: " + text);
    if (!style.json) return;
    Json::Value content;
    content["text"] = text;
    record("violation", at, std::move(content));
}

void LabOutputs::note(double at, const std::string &text) {
    if (style.json) {
        Json::Value content;
        content["text"] = text;
        record("note", at, std::move(content));
    } else {
        line(text.ends_with('\n') ? text.substr(0, text.size() - 1) : text);
    }
}

void LabOutputs::result(double at, bool good, const std::string &text) {
    if (!good) complain(text);
    if (style.json) {
        Json::Value content;
        content["good"] = good;
        content["text"] = text;
        record("result", at, std::move(content));
    } else if (good && !style.quiet) {
        line(clock_text(at) + "  " + text);
    }
}

void LabOutputs::message(double at, int life, std::uint8_t netfn, std::uint8_t cmd,
                         std::span<const std::uint8_t> request, const RMC_REPLY &reply,
                         const std::string &meaning) {
    if (!style.transcript) return;
    Json::Value entry;
    entry["at"] = at;
    entry["life"] = life;
    entry["netfn"] = netfn;
    entry["cmd"] = cmd;
    entry["request"] = hex_of(request);
    entry["completion"] = reply.answer.completionCode;
    entry["response"] = hex_of(reply.answer.data);
    entry["meaning"] = meaning;
    if (reply.delayMs != 0) entry["delayMs"] = Json::Value::Int64{reply.delayMs};
    if (reply.withheld) entry["withheld"] = true;
    append(transcript, "/transcript.jsonl", compact_json(entry));
}
