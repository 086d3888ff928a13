#pragma once

#include <cstddef>
#include <cstdint>

/// One value from one sysfs file. Plain functions: no log, no lock, any thread. `path` is used as it
/// stands; the caller maps it.

/// The first line of a file's first 4096 bytes, without its newline. The caller frees it with
/// free(). Null where the file can't be read, is empty or starts with a NUL.
char *get_sysfs_str(const char *path);

/// What one read of at most 4096 bytes gave. The caller frees it with free().
/// @param size  takes the count of bytes
/// @return null on failure
unsigned char *get_sysfs_buf(const char *path, std::size_t *size);

/// Reads a number by one of the formats below into a value of the format's width. A text that holds
/// no number leaves `out` as it is.
/// @param format  "%llx" "%lx" "%x" "%hx" "%hhx" "%u" "%llu" "%d" "%ld"
/// @return 0, -1 where the file gave no text or the format is none of these
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
