#include "system_version.h"

#include <initializer_list>

#include "plain_text.h"

namespace {
constexpr std::string_view PRODUCT_MARK = "product", VERSION_MARK = "version:";

/// The first candidate that says something and doesn't hold the mark of another line.
std::string first_usable(std::initializer_list<std::string_view> candidates,
                         std::initializer_list<std::string_view> foreignMarks) {
    for (const std::string_view candidate : candidates) {
        const std::string text = one_line(candidate);
        bool usable = !text.empty();
        for (const std::string_view mark : foreignMarks) usable = usable && !holds_word(text, mark);
        if (usable) return text;
    }
    return {};
}

/// Digits and dots at the start, "6.1.0" of "6.1.0-18-amd64".
std::string_view dotted_numbers(std::string_view text) {
    std::string_view found = text.substr(0, text.find_first_not_of("0123456789."));
    while (!found.empty() && found.back() == '.') found.remove_suffix(1);
    return found;
}

/// Number `index` of dotted numbers, 0 where there is none.
unsigned long long dotted_number(std::string_view text, int index) {
    for (; index > 0; --index) {
        const std::size_t dot = text.find('.');
        if (dot == std::string_view::npos) return 0;
        text.remove_prefix(dot + 1);
    }
    unsigned long long number = 0;
    return leading_number(text, number) ? number : 0;
}
} // namespace

ORB_SYSTEM_VERSION
choose_system_version(const std::map<std::string, std::string, std::less<>> &osRelease,
                      std::string_view kernelRelease) {
    const auto value = [&](std::string_view name) {
        const auto found = osRelease.find(name);
        return found == osRelease.end() ? std::string_view() : std::string_view(found->second);
    };

    ORB_SYSTEM_VERSION chosen;
    chosen.product =
        first_usable({value("NAME"), value("PRETTY_NAME"), value("ID"), "Linux"}, {VERSION_MARK});
    chosen.version = first_usable(
        {value("VERSION_ID"), value("BUILD_ID"), kernelRelease, dotted_numbers(kernelRelease)},
        {PRODUCT_MARK});
    chosen.build = first_usable({value("BUILD_ID"), kernelRelease, dotted_numbers(kernelRelease)},
                                {PRODUCT_MARK, VERSION_MARK});

    // VERSION often tells one number more than VERSION_ID: "22.04.3 LTS" and "22.04".
    std::string_view numbers = dotted_numbers(chosen.version);
    const std::string longText = one_line(value("VERSION"));
    const std::string_view longer = dotted_numbers(longText);
    if (chosen.version == one_line(value("VERSION_ID")) && longer.size() > numbers.size() &&
        longer.starts_with(numbers) && longer[numbers.size()] == '.')
        numbers = longer;
    chosen.update = dotted_number(numbers, 1);
    chosen.patch = dotted_number(numbers, 2);
    return chosen;
}

std::string format_system_version(const ORB_SYSTEM_VERSION &version) {
    std::string text;
    const auto add = [&](std::string_view label, std::string_view value) {
        text.append("   ").append(label).append(": ").append(value).append("\n");
    };
    add("Product", version.product);
    if (!version.version.empty()) add("Version", version.version);
    if (!version.build.empty()) add("Build", version.build);
    add("Update", std::to_string(version.update));
    add("Patch", std::to_string(version.patch));
    return text;
}
