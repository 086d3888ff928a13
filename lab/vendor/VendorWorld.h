#pragma once

#include <sys/stat.h>

#include <cstdint>
#include <mutex>
#include <string>

#include <json/json.h>

/// What the simulated world tells the vendor substitutes: the JSON object in the file that the
/// environment variable ORB_LAB_WORLD names, read again whenever it changes. Without the variable,
/// the file or an object in it everything is as on a healthy machine without adapters. Any thread.
class VendorWorld {
public:
    static VendorWorld &get();
    bool encoderRefuses(); ///< "encoder" is "refuses"

    /// How often the file was read or found missing so far: a number that stands for one content.
    std::uint64_t edition();
    /// The object of an HBA library: the member by its file's name in "hba"; null without one.
    /// @param seen  takes the edition that it is from
    Json::Value hbaLibrary(const std::string &fileName, std::uint64_t &seen);

private:
    void refreshLocked(); // caller holds `lock`

    std::mutex lock; // guards all below
    struct timespec readAt {};
    ino_t readInode = 0;
    off_t readSize = 0;
    std::uint64_t editions = 0;
    Json::Value world;
};
