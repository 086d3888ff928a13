#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

#include "vendor/hba_handlers.h"

constexpr std::size_t HBA_COUNTED_ADAPTERS = 64;

/// What was done to one adapter. By the place of the adapter in the world's list.
struct HBA_ADAPTER_CALLS {
    std::uint64_t opened = 0, closed = 0; ///< handles given and taken back
    std::uint64_t attributes = 0, portAttributes = 0;
};

/// How often an HBA library was called, in all processes and loads since the file was made.
struct HBA_CALLS {
    std::uint64_t registrations = 0;
    std::uint64_t handlers[HBA_HANDLERS] = {}; ///< by position in the table of entry points
    HBA_ADAPTER_CALLS adapters[HBA_COUNTED_ADAPTERS];
};
constexpr std::size_t HBA_CALLS_BYTES = 8 * (1 + HBA_HANDLERS + 4 * HBA_COUNTED_ADAPTERS);
static_assert(sizeof(HBA_CALLS) == HBA_CALLS_BYTES);

/// Reads a library's file as it stands now. @return none where there is none of that size
std::optional<HBA_CALLS> read_hba_calls(const std::string &path);

/// The counting side: numbers in a file that is mapped into memory, so that counting costs no call
/// and survives the process. Without a file it counts for nobody. Any thread.
class HbaCallCounter {
public:
    /// Starts a file, or goes on with one of the right size. @param path  empty: no file
    explicit HbaCallCounter(const std::string &path);
    ~HbaCallCounter();
    HbaCallCounter(const HbaCallCounter &) = delete;
    HbaCallCounter &operator=(const HbaCallCounter &) = delete;

    void registration() { add(counted->registrations); }
    void handler(std::size_t position);
    /// An adapter beyond the last is not counted.
    void adapter(std::size_t index, std::uint64_t HBA_ADAPTER_CALLS::*field);

private:
    static void add(std::uint64_t &number) { std::atomic_ref<std::uint64_t>(number).fetch_add(1); }
    HBA_CALLS own;      // where there is no file
    HBA_CALLS *counted; // the mapped file or `own`
};
