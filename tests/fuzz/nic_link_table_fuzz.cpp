#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

#include "network/nic_list.h"

/// Any bytes as the table of names and links: each is one word of the text, and the pairs behind
/// two head lines are read as they are.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    const std::string_view text(reinterpret_cast<const char *>(data), size);
    const auto links = read_link_table(text);
    std::string again = "\n\n";
    for (const auto &[name, link] : links) {
        for (const std::string &word : {name, link})
            if (word.empty() || word.find_first_of(" \t\n\v\f\r") != std::string::npos ||
                text.find(word) == std::string_view::npos)
                std::abort();
        again += name + " " + link + "\n";
    }
    if (read_link_table(again) != links) std::abort();
    return 0;
}
