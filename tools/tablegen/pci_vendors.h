#pragma once

#include <string>
#include <string_view>

#include "tools/tablegen/table_text.h"

/// Makes a header with the table PCI_VENDORS out of the vendor section of a pci.ids file: ids from
/// 0001 to fffe, each four lower-case digits, in rising order, none twice.
/// @param text    the file; devices, classes and comments are passed over
/// @param header  takes the header's text; written on success only
TABLE_FAULT make_pci_vendors(std::string_view text, std::string &header);
