#pragma once

#include <string>
#include <string_view>

#include "tools/tablegen/table_text.h"

/// Makes a header with a constant table out of a product table. data/README.md tells the format.
/// @param text    the file
/// @param name    of the table, lower case with underscores: "nic_models" gives a struct
///                NIC_MODELS_ROW and an array NIC_MODELS, in the order of the rows
/// @param header  takes the header's text; written on success only
TABLE_FAULT make_product_table(std::string_view text, std::string_view name, std::string &header);
