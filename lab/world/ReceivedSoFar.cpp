#include "world/ReceivedSoFar.h"

#include <json/json.h>

#include "core/json_text.h"
#include "world/summary.h"

namespace {
constexpr std::size_t KEPT_LIMIT = 1000;
}

void ReceivedSoFar::keep(std::vector<std::string> &list, const std::string &text) {
    if (list.size() == KEPT_LIMIT) list.erase(list.begin());
    list.push_back(text);
}

std::string ReceivedSoFar::shown(const std::string &subject) const {
    std::string text;
    if (subject == "events") {
        for (const std::string &each : events) {
            Json::Value event;
            parse_json(each, event);
            text += event_line(event) + "\n";
        }
    } else if (subject == "violations") {
        for (const std::string &each : violations) text += each + "\n";
    } else {
        Json::Value document;
        if (!latestInventory.empty() && parse_json(latestInventory, document))
            text = subject == "summary" ? summary_text(document) : document.toStyledString();
    }
    return text.empty() ? "no " + subject + " yet" : text;
}
