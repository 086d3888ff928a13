#pragma once

#include <cstddef>
#include <cstdint>

/// One value from one sysfs file. Plain functions: no log, no lock, any thread. `path` is used as
/// it stands; the caller maps it.

/// The first line of a file's first 4096 bytes, without its newline. The caller frees it with
/// free(). Null where the file can't be read, is empty or starts with a NUL.
char *get_sysfs_str(const char *path);

/// What one read of at most 4096 bytes gave. The caller frees it with free().
/// @param size  takes the count of bytes, 0 on failure
/// @return null where the file can't be opened or read; an empty file is no failure
unsigned char *get_sysfs_buf(const char *path, std::size_t *size);

/// Decodes a number from the start of a text, white space skipped, into a value of the format's
/// width. What goes beyond the width loses its upper bits, what goes beyond 64 bits is read as
/// their limit. A text that starts with no number leaves `out` as it is. Pure.
/// @param format  "%llx" "%lx" "%x" "%hx" "%hhx" "%u" "%llu" "%d" "%ld"
/// @return 0, -1 where the format is none of these
int decode_sysfs_number(const char *text, const char *format, void *out);

/// The same on a file's get_sysfs_str().
/// @return 0, -1 where the file gave no text or the format is unknown
int _get_sysfs_numeric(const char *path, const char *format, void *out);

/// All ones in their width where the file gives no number.
std::uint64_t get_sysfs_llhex(const char *path);
std::uint64_t get_sysfs_lhex(const char *path);
std::uint32_t get_sysfs_ihex(const char *path);
std::uint16_t get_sysfs_shex(const char *path);
std::uint8_t get_sysfs_chex(const char *path);
std::uint32_t get_sysfs_uint(const char *path);
std::uint64_t get_sysfs_ullong(const char *path);
std::int32_t get_sysfs_int(const char *path); ///< -1 where the file gives no number
std::int64_t get_sysfs_llong(const char *path);
