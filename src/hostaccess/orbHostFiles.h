#pragma once

#include <string>

/// Where the host's files lie. Work on files and pipes uses ordinary calls on the mapped path.
class IorbHostFiles {
public:
    virtual ~IorbHostFiles() = default;
    /// @param hostPath  absolute path on the host, such as "/etc/config/vantor/orb/orb.conf"
    /// @return where that file is: the same path in production, below a root in tests and lab
    virtual std::string map(const std::string &hostPath) = 0;

    static IorbHostFiles &get(); ///< the host's own, or those put in by replace()
    static IorbHostFiles *replace(IorbHostFiles *next); ///< gives the former; null: the host's
};

/// The mapped path as a word of a shell line: as it is where every character is harmless to the
/// shell, else in single quotes. On a production host no path needs quotes.
std::string shell_path(const std::string &hostPath);
