#pragma once

#include <cstdint>
#include <string>
#include <string_view>

/// Readers and judgements of what host commands tell about one network interface. Pure; any thread.

/// Whether a text may become part of a shell line as an interface's name: letters, digits and
/// "._:-" only, at least one.
bool is_interface_name(std::string_view text);

/// The value in "label: value": what stands from two places behind the first ":" on.
/// @param value  written on true only; "" where the text ends before
/// @return whether the text holds a ":"
bool read_labelled_value(std::string_view text, std::string &value);

/// The firmware version in the lines that name it: the labelled value, cut at its first newline.
/// @return whether there was one; else `version` is untouched
bool read_firmware_version(std::string_view lines, std::string &version);

/// How an interface's link stands.
enum NIC_LINK_RESULT : int {
    NIC_LINK_UP = 1,
    NIC_LINK_UNKNOWN = 2,
    NIC_LINK_DOWN = 3,
    NIC_LINK_NOT_TOLD = 4,
};
/// Judges an interface by its link word, in any letters. With a cable type (anything but blanks and
/// newlines) every word but "down" and "unknown" counts as up, without one only "up" does.
NIC_LINK_RESULT judge_link(std::string_view cableType, std::string_view linkWord);

/// Words of the status tables for a result of judge_link(); for any other number those of
/// NIC_LINK_NOT_TOLD.
const char *nic_state_word(int linkResult);
const char *nic_health_word(int linkResult);

/// The texts of a card's PCI sub-ids, as they stand behind the ":", blanks and newline included.
struct ORB_NIC_SUB_IDS {
    std::string subVendor, subDevice;
};
/// Takes one line of a device's block in the PCI list. A later line of a kind replaces an earlier
/// one; a line without a ":" has an empty value.
/// @return false for a line that names neither sub-id
bool take_sub_id(std::string_view line, ORB_NIC_SUB_IDS &ids);

/// Reads a sub-id: hexadecimal, with leading white space and "0x" accepted; the lower 32 bits.
/// @return false, `value` untouched, for a text that begins with no number
bool read_sub_id(const std::string &text, std::uint32_t &value);

/// Reads a speed in decimal; what stands behind the digits doesn't count.
/// @param mbps  0 for a negative number and on false
/// @return false where the text begins with no number, or with one beyond 32 bits
bool read_speed(const std::string &text, std::int32_t &mbps);
