#pragma once

#include <cstdint>
#include <istream>
#include <optional>
#include <ostream>
#include <string>

/// The run-state file: lines of a key, one blank and seconds since the epoch, in any order. It
/// tells the next start how this run ended. Its folder is open to every user of the host: files are
/// made for their owner alone, and no link, symbolic or hard, nor pipe at their place is followed.

/// Path of the run-state file on the host, "/var/tmp/vantorORBStartup.txt": the name follows the
/// directory's text without a separator. Implemented with the job manager, which knows the
/// installation's paths.
std::string run_state_path();
/// Path of the twin in which a new content is built.
std::string run_state_temporary_path();

/// The value of a key: the token behind the first token that equals it, in base 10. Tokens are
/// separated by white space; a value that is no number reads 0. Pure, of bounded memory.
/// @return nothing where the key or a token behind it is missing
std::optional<std::int64_t> read_run_state_value(std::istream &in, const std::string &key);

/// The same from the run-state file. @return false where the file can't be opened
bool read_run_state(const std::string &key, std::optional<std::int64_t> &value);

/// Copies lines, each that contains `key` as "key value"; without a value all as they are. The last
/// line gets a newline where it has none. Pure.
void copy_run_state(std::istream &in, std::ostream &out, const std::string &key,
                    std::optional<std::int64_t> value);

/// Copies the run-state file through its temporary twin as copy_run_state() does, and puts the
/// result in the file's place. Lines that a stale twin still holds stay ahead of the new ones. A
/// copy that can't be written whole leaves the file as it is, and no twin.
/// @return 0, -1 where the file can't be read, -2 where the twin can't be written or renamed
int rewrite_run_state(const std::string &key, std::optional<std::int64_t> value);

/// Makes sure that a regular file lies at a mapped path: makes an empty one where there is none, or
/// in the place of a link or pipe.
/// @return false where that can't be done
bool ensure_private_file(const std::string &path);
