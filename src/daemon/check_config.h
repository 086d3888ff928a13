#pragma once

#include <string>

/// Prints, for each key of a configuration file, what is written, what the daemon uses and why.
/// Text from the file is printed on one line each, shortened, without control characters.
/// @param file  empty: the daemon's own
/// @return the exit status: 0 when everything is used as it is written, else 3
int print_config_check(const std::string &file);
