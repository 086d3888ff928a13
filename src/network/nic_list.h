#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

/// Readers of the host's table of network interfaces. Pure; any thread. Lines end at newlines, a
/// last one may lack its own; words are what stands between white space.

/// The fields of a row.
enum NIC_FIELD : std::size_t {
    NIC_NAME,
    NIC_PCI_DEVICE,
    NIC_DRIVER,
    NIC_ADMIN_STATUS,
    NIC_LINK_STATUS,
    NIC_SPEED,
    NIC_DUPLEX,
    NIC_MAC_ADDRESS,
    NIC_MTU,
    NIC_DESCRIPTION, ///< all words from the tenth on, joined by single blanks
    NIC_FIELDS
};

/// Reads the table as `localcli network nic list` prints it: a head line, a line of dashes, and a
/// row of at least ten words for each interface.
/// @param rows  replaced; each row has NIC_FIELDS texts. On -2 it holds the rows before the bad one
/// @return 0 read, also where there is no line at all; -1 the first line lacks "Name"; -2 a row of
///         fewer than ten words, an empty line included
int read_nic_list(std::string_view text, std::vector<std::vector<std::string>> &rows);

/// Reads the table cut down to name and link word. The first two lines are heads; a further one of
/// other than exactly two words is passed over.
/// @return pairs of name and link word, in order
std::vector<std::pair<std::string, std::string>> read_link_table(std::string_view text);
