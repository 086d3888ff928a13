#pragma once

#include <mutex>
#include <string>

/// The installation's paths and the machine's maker, read on first use. Any thread.
/// Locks: platformCheckLock, then the SMBIOS reader's.
class platformCheck {
public:
    static std::string getCardManufacturer(); ///< maker by SMBIOS type 1; "" while it can't be read
    static std::string getDirectoryPath();    ///< "/opt/vantor/orb"
    static std::string getStartupFilePath();  ///< "/var/tmp/vantor"
    static void setDirectoryPath();           ///< reads all three

private:
    struct INSTALLATION {
        std::string cardManufacturer, directoryPath, startupFilePath;
    };
    static INSTALLATION &installation(); // guarded by platformCheckLock
    static void setDirectoryPathLocked();
    /// A copy of a value, read before where it is still empty.
    static std::string getValue(std::string INSTALLATION::*value);

    static std::mutex platformCheckLock;
};
