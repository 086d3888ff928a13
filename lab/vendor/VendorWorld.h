#pragma once

#include <sys/stat.h>

#include <mutex>

#include <json/json.h>

/// What the simulated world tells the vendor substitutes: the JSON object in the file that the
/// environment variable ORB_LAB_WORLD names, read again whenever it changes. Without the variable,
/// the file or an object in it everything is as on a healthy machine. Any thread.
class VendorWorld {
public:
    static VendorWorld &get();
    bool encoderRefuses(); ///< "encoder" is "refuses"

private:
    void refreshLocked(); // caller holds `lock`

    std::mutex lock; // guards all below
    struct timespec readAt {};
    ino_t readInode = 0;
    off_t readSize = 0;
    Json::Value world;
};
