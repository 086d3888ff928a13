#pragma once

/// Builds every enabled cache once and prints the document to standard output. A daemon that runs
/// meanwhile is not disturbed: data files lie in a private folder, which goes away at the end and
/// when a signal ends the process; nothing is logged or sent; the run-state file is left alone.
/// @param compact  on one line instead of indented
/// @return the exit status
int print_inventory(bool compact);
