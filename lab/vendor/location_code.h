#pragma once

#include <cstdint>
#include <string>

/// Where a unit sits, as it is written into the lab's location codes.
struct PHYSICAL_LOCATION {
    int generation = 1;     ///< of the platform: 1 or 2
    std::uint32_t type = 0; ///< kind of unit; the numbers differ between the generations
    std::uint8_t rack = 0;
    std::uint8_t unit = 0;      ///< second generation: the I/O element
    std::uint8_t partition = 0; ///< first generation only
    std::uint8_t slot = 0;      ///< 0: on the system board
    std::uint8_t extra = 0;     ///< port, bay or box, for the kinds that have one
};

constexpr int LOCATION_UNKNOWN_TYPE = 1, LOCATION_OUT_OF_RANGE = 2;

/// The code of a unit whose place nobody knows.
constexpr const char UNKNOWN_LOCATION[] = "FFFFFFFFFFFFFFFF";

/// One to one: two locations never share a code, and no code is all ones.
/// @param code  written on success only
/// @return 0, LOCATION_UNKNOWN_TYPE or LOCATION_OUT_OF_RANGE
int encode_location(const PHYSICAL_LOCATION &location, std::uint64_t *code);

/// @param text   sixteen hexadecimal digits
/// @param error  takes what is wrong with the text, on failure
bool decode_location(const std::string &text, PHYSICAL_LOCATION &location, std::string &error);

/// The kind of unit: "I/O slot".
std::string location_kind(const PHYSICAL_LOCATION &location);
/// Where it is: "rack 1, unit 1, partition 0, on board, port 1".
std::string location_place(const PHYSICAL_LOCATION &location);
/// The GeoID that the code was made from, its rack number reduced to eight bits.
std::string location_geo_id(const PHYSICAL_LOCATION &location);

/// A code for a person: its place where it is one of the lab's, "location unknown" for all ones,
/// else the text itself.
std::string readable_location(const std::string &code);
