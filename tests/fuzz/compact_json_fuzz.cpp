#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>

#include "core/json_text.h"

/// Any text that parses is written as jsoncpp itself writes it.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    Json::Value root;
    if (!parse_json(std::string(reinterpret_cast<const char *>(data), size), root)) {
        if (!root.isNull()) std::abort();
        return 0;
    }
    Json::StreamWriterBuilder builder;
    builder["indentation"] = "";
    std::string expected = Json::writeString(builder, root);
    if (!expected.empty() && expected.back() == '\n') expected.pop_back();
    if (compact_json(root) != expected) std::abort();
    return 0;
}
