#pragma once

#include <string>

/// Writes "orbd: what: why" as one line to standard error, at once and without a lock, so that a
/// thread that hangs in the library can't hold it up.
void print_error(const std::string &what, const std::string &why);

std::string errno_text(int err); ///< the system's words for an errno
