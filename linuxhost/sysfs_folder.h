#pragma once

#include <cstddef>
#include <functional>
#include <span>
#include <string>
#include <string_view>

/// An open folder of sysfs, or of any tree in its form. Entries are reached from it by their name
/// alone, so that the kernel walks no long path for each. Whatever can't be read is empty: a device
/// may go at any time, and many entries exist for some devices only. One thread for each object.
class SYSFS_FOLDER {
public:
    static constexpr std::size_t TEXT_LIMIT = 4096; ///< bytes; the kernel's own for an attribute

    explicit SYSFS_FOLDER(const std::string &path);
    /// Of a folder, or a link to one, inside another. @param name  may hold slashes
    SYSFS_FOLDER(const SYSFS_FOLDER &above, const char *name);
    ~SYSFS_FOLDER();
    SYSFS_FOLDER(const SYSFS_FOLDER &) = delete;
    SYSFS_FOLDER &operator=(const SYSFS_FOLDER &) = delete;

    bool isOpen() const { return fd >= 0; }
    int error() const { return errorNumber; } ///< errno of the opening, 0 after success

    /// The bytes at a file's start. @return 0 or errno  @param read  how many came
    int bytes(const char *name, std::span<char> room, std::size_t &read) const;
    /// A small file as one line, without blanks at its ends.
    std::string text(const char *name) const;
    /// The target of a link, which needn't exist; empty where it is none or longer than 4096 bytes.
    std::string linkTarget(const char *name) const;
    /// The last name of that target.
    std::string linkedName(const char *name) const;

    /// Names in this folder, without "." and "..", in no order. @return 0 or errno
    int list(const std::function<void(const char *)> &take) const;
    /// Of the names that a test accepts the first in natural order: "host2" before "host10".
    std::string first(const std::function<bool(std::string_view)> &accepts) const;
    /// The same for a stem and a number: "host2" for "host".
    std::string firstNumbered(std::string_view stem) const;
    std::string firstOfAll() const;

private:
    int fd = -1, errorNumber = 0;
};

/// The number behind a stem, as a text: "12" of "host12"; empty for anything else.
std::string_view number_behind(std::string_view name, std::string_view stem);
