#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include <json/json.h>

#include "rmc/RmcDecoder.h"
#include "rmc/RmcDocuments.h"

/// How the RMC misbehaves for the time being.
struct RMC_BEHAVIOUR {
    RMC_FORCE force;
    std::int64_t delayMs = 0; ///< before each answer, in real time
    bool silent = false;      ///< takes messages and answers none
    std::size_t skip = 0;     ///< messages of each transfer that are answered as they should be
    std::int64_t times = -1;  ///< messages that are answered so; -1 without limit

    bool isNormal() const;
};

/// What becomes of one message.
struct RMC_REPLY {
    RMC_ANSWER answer;
    std::int64_t delayMs = 0;
    bool withheld = false; ///< the answer goes out when the RMC is back
};

/// A document as the daemon sent it.
struct RMC_DOCUMENT {
    std::string text;
    Json::Value value; ///< null where the text is no JSON
};

/// A rack management controller: the strict decoder, the schemas, the latest inventory and the
/// events in order of arrival, and faults on request. One thread.
class Rmc {
public:
    bool loadSchemas(const std::string &folder, std::string &error) {
        return documents.load(folder, error);
    }
    RMC_REPLY message(std::uint8_t netfn, std::uint8_t cmd, std::span<const std::uint8_t> data);

    void behave(const RMC_BEHAVIOUR &next) { behaviour = next; }
    const RMC_BEHAVIOUR &currentBehaviour() const { return behaviour; }
    RmcDecoder &wire() { return decoder; }
    void violate(const std::string &text); ///< a rule broken outside the decoder's sight

    std::vector<RMC_DOCUMENT> takeInventories(); ///< received since the last call
    std::vector<RMC_DOCUMENT> takeEvents();
    std::vector<std::string> takeViolations(); ///< likewise; at most 1000 are kept

private:
    RmcDecoder decoder;
    RmcDocuments documents;
    RMC_BEHAVIOUR behaviour;
    std::vector<RMC_DOCUMENT> inventories, events;
    std::vector<std::string> violations;
};
