#pragma once

#include <map>
#include <string>
#include <string_view>

/// What `localcli system version get` tells. A text left empty has no line.
struct ORB_SYSTEM_VERSION {
    std::string product; ///< never empty
    std::string version; ///< empty only where neither os-release nor the kernel tells one
    std::string build;
    unsigned long long update = 0; ///< second number of the version
    unsigned long long patch = 0;  ///< third number
};

/// Chooses from the values of os-release and the kernel's release. The texts are such that a search
/// for "product" or "version:" in the printed form, whatever the case, meets one line each: a value
/// that would break this is passed over for the next source. Pure.
ORB_SYSTEM_VERSION
choose_system_version(const std::map<std::string, std::string, std::less<>> &osRelease,
                      std::string_view kernelRelease);

/// The lines, each ended by a newline.
std::string format_system_version(const ORB_SYSTEM_VERSION &version);
