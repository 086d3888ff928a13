#pragma once

#include <getopt.h>

#include <cstddef>
#include <string>
#include <string_view>

/// What the programs of this folder share: their exit statuses, messages, files. One thread.
constexpr int EXIT_OK = 0, EXIT_FAILED = 1, EXIT_USAGE = 2;

/// Makes standard input and error real descriptors where the caller closed them, so that no file
/// takes their number, and lets a vanished reader show as a failed write. Call first.
/// @return false where standard output is closed
bool prepare_standard_streams();

/// Prints "program: what: why" on standard error.
void complain(std::string_view program, std::string_view what, std::string_view why);
/// The same with the system's words for an errno.
void complain(std::string_view program, std::string_view what, int errorNumber);

/// Complains and prints the usage on standard error. @return EXIT_USAGE
int refuse_usage(std::string_view program, std::string_view usage, std::string_view what,
                 std::string_view why);
/// The same for what getopt_long has just refused.
int refuse_option(std::string_view program, std::string_view usage, char **argv,
                  const option *longOptions);

/// Writes all of a text. @return 0 or errno
int write_all(int fd, std::string_view text);

/// Prints a program's whole result on standard output; complains where that fails.
/// @return EXIT_OK or EXIT_FAILED
int print_result(std::string_view program, std::string_view text);

/// Reads a file up to a limit; what lies behind it is left. Doesn't wait for a pipe's writer.
/// @param text  replaced, also on failure by what had been read
/// @return 0 or errno
int read_file(const std::string &path, std::size_t limit, std::string &text);

/// The root folder in force: the environment's ORB_ROOT without slashes at the end, "" for none.
std::string root_from_environment();
std::string without_end_slashes(std::string path);

/// Puts `bytes` where `path` is: a plain file at once, by way of a temporary one beside it, with
/// mode 0600 and its folders made; anything else that stands there is written to as it is.
/// @return 0 or errno
int replace_file(const std::string &path, std::string_view bytes);
