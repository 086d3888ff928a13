#pragma once

#include <string>

/// Path of the run-state file on the host, "/var/tmp/vantorORBStartup.txt": the name follows the
/// directory's text without a separator.
std::string run_state_path();
/// Path of the twin in which a new content is built.
std::string run_state_temporary_path();

/// Copies the run-state file line by line through its temporary twin, each line that contains `key`
/// replaced by "key value", and puts the result in the file's place. Lines that a stale twin still
/// holds stay ahead of the new ones. A copy that can't be written whole leaves the file as it is.
/// @return 0, -1 where the file can't be read, -2 where the twin can't be written or renamed
int rewrite_run_state(const std::string &key, long value);
