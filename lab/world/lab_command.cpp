#include "world/lab_command.h"

#include <arpa/inet.h>

#include <optional>
#include <sstream>
#include <vector>

#include "core/number_readers.h"
#include "vendor/hba_handlers.h"
#include "world/nic_facts.h"
#include "world/scenario_storage.h"

namespace {
constexpr double DOWN_SECONDS = 30;
constexpr std::size_t SHOWN_LINE = 60; // bytes of a line that is no command
constexpr std::int64_t LONGEST_DELAY_MS = 600'000;
constexpr std::size_t LONGEST_NAME = 15; // of an interface
constexpr std::size_t LONGEST_WWN = 23;
constexpr std::int64_t HIGHEST_HOST = 99999;

std::vector<std::string> words_of(const std::string &line) {
    std::istringstream stream(line);
    std::vector<std::string> words;
    for (std::string word; stream >> word;) words.push_back(word);
    return words;
}

std::optional<std::int64_t> number_of(const std::string &word, std::int64_t limit) {
    const bool isHex = word.starts_with("0x");
    const std::string digits = isHex ? word.substr(2) : word;
    const char *allowed = isHex ? "0123456789abcdefABCDEF" : "0123456789";
    if (digits.empty() || digits.size() > 15 ||
        digits.find_first_not_of(allowed) != std::string::npos)
        return std::nullopt;
    const std::int64_t value =
        isHex ? static_cast<std::int64_t>(read_hexadecimal(digits)) : read_decimal(digits);
    if (value > limit) return std::nullopt;
    return value;
}

bool parse_rmc(const std::vector<std::string> &words, LAB_COMMAND &command, std::string &error) {
    command.kind = LAB_COMMAND::Kind::RMC;
    RMC_BEHAVIOUR &behaviour = command.behaviour;
    if (words.size() < 2) {
        error = "rmc: status, exit, completion, delay, handle, short, silent or normal is missing";
        return false;
    }
    for (std::size_t i = 1; i < words.size(); ++i) {
        const std::string &what = words[i];
        if (what == "normal") continue;
        if (what == "silent") {
            behaviour.silent = true;
            continue;
        }
        std::int64_t limit = 0xFF;
        if (what == "delay") {
            limit = LONGEST_DELAY_MS;
        } else if (what == "handle") {
            limit = 0xFFFF;
        } else if (what == "short") {
            limit = 254;
        } else if (what == "skip" || what == "times") {
            limit = 1'000'000'000;
        } else if (what != "status" && what != "exit" && what != "completion") {
            error = "rmc: unknown word \"" + what + "\"";
            return false;
        }
        const auto number = i + 1 < words.size() ? number_of(words[i + 1], limit) : std::nullopt;
        if (!number) {
            error = "rmc: " + what + " needs a number from 0 to " + std::to_string(limit);
            return false;
        }
        ++i;
        if (what == "status") {
            behaviour.force.transferStatus = static_cast<std::uint8_t>(*number);
        } else if (what == "exit") {
            behaviour.force.exitStatus = static_cast<std::uint8_t>(*number);
        } else if (what == "completion") {
            behaviour.force.completionCode = static_cast<std::uint8_t>(*number);
        } else if (what == "handle") {
            behaviour.force.handle = static_cast<std::uint16_t>(*number);
        } else if (what == "short") {
            behaviour.force.shortTo = static_cast<std::size_t>(*number);
        } else if (what == "delay") {
            behaviour.delayMs = *number;
        } else if (what == "skip") {
            behaviour.skip = static_cast<std::size_t>(*number);
        } else {
            behaviour.times = *number;
        }
    }
    return true;
}

bool parse_set(const std::vector<std::string> &words, LAB_COMMAND &command, std::string &error) {
    command.kind = LAB_COMMAND::Kind::SET;
    std::size_t at = 1;
    if (words.size() > at && words[at] == "host") ++at;
    if (words.size() != at + 2) {
        error = "set: say what and to what, such as \"set host name orb-lab-02\"";
        return false;
    }
    command.subject = words[at];
    command.value = words[at + 1];
    const std::string &subject = command.subject;
    if (subject == "memory" || subject == "free") {
        if (!number_of(command.value, 1'000'000'000'000))
            error = "set: " + subject + " needs MBytes";
    } else if (subject == "address") {
        std::istringstream list(command.value == "none" ? "" : command.value);
        in_addr parsed{};
        for (std::string each; std::getline(list, each, ',');)
            if (::inet_pton(AF_INET, each.c_str(), &parsed) != 1)
                error = "set: \"" + each + "\" is no IPv4 address";
    } else if (subject == "esxtop") {
        if (!is_esxtop_mode(command.value))
            error = "set: esxtop must be works, fails, empty or garbled";
    } else if (subject == "nics") {
        if (!is_nic_list_mode(command.value))
            error = std::string("set: nics must be ") + NIC_LIST_MODES;
    } else if (subject == "encoder") {
        if (!is_encoder_mode(command.value))
            error = std::string("set: encoder must be ") + ENCODER_MODES;
    } else if (subject == "ipmi") {
        if (command.value != "on" && command.value != "off") error = "set: ipmi must be on or off";
    } else if (subject == "name") {
        if (command.value.size() > 64) error = "set: name is longer than 64 characters";
    } else if (subject != "os" && subject != "version") {
        error = "set: unknown fact \"" + subject + "\"";
    }
    return error.empty();
}

bool parse_nic(const std::vector<std::string> &words, LAB_COMMAND &command, std::string &error) {
    static constexpr std::pair<const char *, const char *> ACTS[] = {
        {"up", "Up"},         {"down", "Down"}, {"unknown", "Unknown"},
        {"remove", "remove"}, {"add", "add"},
    };
    command.kind = LAB_COMMAND::Kind::NIC;
    if (words.size() == 3 && words[1].size() > LONGEST_NAME) {
        error = "nic: a name has at most " + std::to_string(LONGEST_NAME) + " characters";
        return false;
    }
    if (words.size() == 3)
        for (const auto &[word, value] : ACTS)
            if (words[2] == word) {
                command.subject = words[1];
                command.value = value;
                return true;
            }
    error = "nic: say which and what, such as \"nic vmnic0 down\": up, down, unknown, remove, add";
    return false;
}

bool parse_fc(const std::vector<std::string> &words, LAB_COMMAND &command, std::string &error) {
    command.kind = LAB_COMMAND::Kind::FC;
    error = "fc: say which and what, such as \"fc vmhba3 linkdown\" or \"fc vmhba3 1 offline\": "
            "online, offline, bypassed, diagnostics, linkdown, error, loopback, unknown, remove, "
            "add";
    if (words.size() != 3 && words.size() != 4) return false;
    if (words[1].size() > LONGEST_WWN) {
        error = "fc: a name has at most " + std::to_string(LONGEST_WWN) + " characters";
        return false;
    }
    command.subject = words[1];
    command.value = words.back();
    const bool isWhole = command.value == "remove" || command.value == "add";
    if (words.size() == 4) {
        const auto port = number_of(words[2], 255);
        if (isWhole || !port) return false;
        command.detail = std::to_string(*port);
    }
    if (!isWhole && !is_hba_state(command.value)) return false;
    error.clear();
    return true;
}

bool parse_hba(const std::vector<std::string> &words, LAB_COMMAND &command, std::string &error) {
    command.kind = LAB_COMMAND::Kind::HBA;
    if (words.size() != 4 || (words[3] != "works" && words[3] != "fails")) {
        error = "hba: say a library or all, a call and works or fails, such as \"hba all "
                "OpenAdapter fails\"";
        return false;
    }
    command.subject = words[1];
    command.detail = words[2];
    command.value = words[3];
    if (is_hba_call(command.detail)) return true;
    error = "hba: \"" + command.detail + "\" is no call of a library";
    return false;
}

bool parse_storage(const std::vector<std::string> &words, LAB_COMMAND &command,
                   std::string &error) {
    command.kind = LAB_COMMAND::Kind::STORAGE;
    error = std::string("storage: say which and what, such as \"storage vmhba1 offline\" or "
                        "\"storage vmhba1 0 remove\": ") +
            STORAGE_STATES + "; remove, add, reset";
    if (words.size() != 3 && words.size() != 4) return false;
    if (words[1].size() > LONGEST_NAME) {
        error = "storage: a name has at most " + std::to_string(LONGEST_NAME) + " characters";
        return false;
    }
    command.subject = words[1];
    if (words[2] == "reset") {
        command.value = words[2];
        command.downSeconds = DOWN_SECONDS;
        const auto seconds = number_of(words.back(), 1'000'000'000);
        if (words.size() == 4 && (!seconds || *seconds < 1)) {
            error = "storage: reset needs seconds, 1 or more";
            return false;
        }
        if (words.size() == 4) command.downSeconds = static_cast<double>(*seconds);
        error.clear();
        return true;
    }
    command.value = words.back();
    if (words.size() == 4) {
        const bool isName = words[2].starts_with("host");
        const auto port = number_of(isName ? words[2].substr(4) : words[2], HIGHEST_HOST);
        if (!port) return false;
        command.detail = (isName ? "host" : "") + std::to_string(*port);
    }
    if (command.value != "remove" && command.value != "add" && !is_storage_state(command.value))
        return false;
    error.clear();
    return true;
}

constexpr const char *HELP_ON_RMC =
    "door-bell [generic]          the RMC asks for a fresh inventory\n"
    "rmc status N | exit N | completion N | delay MS | handle N | short N | silent | normal\n"
    "    [skip K] [times T]       bend the answers: all, behind the first K, T times\n";
constexpr const char *HELP_ON_SERVER =
    "restart daemon               stop it in order and start it again\n"
    "crash daemon                 end it at once; it starts again\n"
    "reboot host [SECONDS]        stop the daemon, stay down, boot\n"
    "crash host [SECONDS]         power lost, stay down, boot\n"
    "set host name X | os X | version X | memory MB | free MB | address A[,B] or none\n"
    "nic NAME up | down | unknown the link of an Ethernet adapter\n"
    "nic NAME remove | add        the adapter goes and comes back\n"
    "fc NAME [PORT] online | offline | bypassed | diagnostics | linkdown | error | loopback |\n"
    "    unknown                  a Fibre Channel adapter's ports; NAME may be a world-wide name\n"
    "fc NAME remove | add         the adapter goes and comes back\n"
    "hba LIBRARY|all CALL fails | works\n"
    "                             a call of a vendor's library, such as OpenAdapter\n"
    "storage NAME [PORT] created | running | cancel | deleted | recovery | cancel/recovery |\n"
    "    deleted/recovery | quiesce | offline | transport-offline | blocked | created-blocked |\n"
    "    online | optimal | unreadable\n"
    "                             a storage controller's SCSI hosts; NAME may be a PCI address\n"
    "storage NAME [PORT] remove | add\n"
    "                             the controller or a host of it goes and comes back\n"
    "storage NAME reset [SECONDS] all its hosts go, and come back\n"
    "set nics works | fails | empty | headless | cut | short | blank | old | binary | huge |\n"
    "    hangs                    the list of adapters\n"
    "set encoder works | refuses  the encoder of locations, at once;\n"
    "    missing | incomplete     from the daemon's next start on\n"
    "set esxtop works | fails | empty | garbled\n"
    "set ipmi on | off            the IPMI device comes and goes\n";
constexpr const char *HELP_ON_CALLS =
    "show hba                     how often the vendors' libraries were called\n";
constexpr const char *HELP_ON_THE_REST = "show inventory | events | violations | summary\n"
                                         "help\n"
                                         "quit\n";
} // namespace

std::string lab_command_help(bool withServer) {
    return std::string(HELP_ON_RMC) + (withServer ? HELP_ON_SERVER : "") +
           (withServer ? HELP_ON_CALLS : "") + HELP_ON_THE_REST;
}

bool is_about_server(const LAB_COMMAND &command) {
    using Kind = LAB_COMMAND::Kind;
    switch (command.kind) {
    case Kind::RESTART_DAEMON:
    case Kind::CRASH_DAEMON:
    case Kind::REBOOT_HOST:
    case Kind::CRASH_HOST:
    case Kind::NIC:
    case Kind::FC:
    case Kind::HBA:
    case Kind::STORAGE:
    case Kind::SET:
        return true;
    case Kind::SHOW:
        return command.subject == "hba";
    default:
        return false;
    }
}

bool is_esxtop_mode(const std::string &text) {
    return text == "works" || text == "fails" || text == "empty" || text == "garbled";
}

bool parse_lab_command(const std::string &line, LAB_COMMAND &command, std::string &error) {
    using Kind = LAB_COMMAND::Kind;
    command = LAB_COMMAND{};
    error.clear();
    const std::vector<std::string> words = words_of(line);
    if (words.empty() || words[0].starts_with('#')) return true;
    const std::string &verb = words[0];
    const std::string object = words.size() > 1 ? words[1] : "";

    if (verb == "rmc") return parse_rmc(words, command, error);
    if (verb == "nic") return parse_nic(words, command, error);
    if (verb == "fc") return parse_fc(words, command, error);
    if (verb == "hba") return parse_hba(words, command, error);
    if (verb == "storage") return parse_storage(words, command, error);
    if (verb == "set") return parse_set(words, command, error);
    if (words.size() == 1 && (verb == "help" || verb == "quit")) {
        command.kind = verb == "help" ? Kind::HELP : Kind::QUIT;
        return true;
    }
    if (verb == "door-bell" && (words.size() == 1 || (words.size() == 2 && object == "generic"))) {
        command.kind = words.size() == 1 ? Kind::DOOR_BELL : Kind::GENERIC_DOOR_BELL;
        return true;
    }
    if (words.size() == 2 && object == "daemon" && (verb == "restart" || verb == "crash")) {
        command.kind = verb == "restart" ? Kind::RESTART_DAEMON : Kind::CRASH_DAEMON;
        return true;
    }
    if ((words.size() == 2 || words.size() == 3) && object == "host" &&
        (verb == "reboot" || verb == "crash")) {
        command.kind = verb == "reboot" ? Kind::REBOOT_HOST : Kind::CRASH_HOST;
        command.downSeconds = DOWN_SECONDS;
        if (words.size() == 2) return true;
        const auto seconds = number_of(words[2], 1'000'000'000);
        // The boot must lie clearly behind the daemon's last record, whose clock has whole seconds.
        if (seconds && *seconds >= 2) {
            command.downSeconds = static_cast<double>(*seconds);
            return true;
        }
        error = verb + " host: needs seconds, 2 or more";
        return false;
    }
    if (words.size() == 2 && verb == "show" &&
        (object == "inventory" || object == "events" || object == "violations" ||
         object == "summary" || object == "hba")) {
        command.kind = Kind::SHOW;
        command.subject = object;
        return true;
    }
    error = line.size() > SHOWN_LINE ? line.substr(0, SHOWN_LINE) + "..." : line;
    error += ": unknown command, try help";
    return false;
}
