#pragma once

#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "fc/hba_api.h"
#include "vendor/HbaCalls.h"
#include "vendor/hba_handlers.h"

/// One adapter as a library tells of it.
struct HBA_WORLD_ADAPTER {
    std::string name;
    bool present = true;
    HBA_ADAPTERATTRIBUTES attributes{};
    std::vector<HBA_PORTATTRIBUTES> ports;
};

/// What the world says of one HBA library, and the counts of its calls. Any thread.
class HbaWorld {
public:
    explicit HbaWorld(std::string libraryFile);

    /// Whether a call is to fail just now; "RegisterLibrary" or the name of a handler.
    bool fails(const std::string &call);
    /// The adapters that are in the machine just now, by their places in the world's list.
    std::vector<std::size_t> present();
    /// @return none where no adapter of that place is in the machine
    std::optional<HBA_WORLD_ADAPTER> adapter(std::size_t index);
    /// @return its place in the world's list, none where it is not in the machine
    std::optional<std::size_t> find(const std::string &name);

    HbaCallCounter &calls() { return counter; }

private:
    void refreshLocked(); // caller holds `lock`

    const std::string file;
    HbaCallCounter counter;
    std::mutex lock;                     // guards all below
    std::optional<std::uint64_t> readAt; // the world's edition that they are from
    std::vector<std::string> failing;
    std::vector<HBA_WORLD_ADAPTER> adapters;
};
