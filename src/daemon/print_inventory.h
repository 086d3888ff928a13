#pragma once

#include "daemon/daemon_options.h"

/// Builds every enabled cache once and prints the document to standard output. A daemon that runs
/// meanwhile is not disturbed: data files lie in a private folder, which goes away at the end and
/// when a signal ends the process; nothing is logged or sent; the run-state file is left alone.
/// @param options  whether on one line instead of indented, and what is left out
/// @return the exit status
int print_inventory(const ORB_DAEMON_OPTIONS &options);
