#pragma once

#include <cstdint>
#include <mutex>
#include <string>

namespace ipmi {

/// Raw response of Get Device ID, without the completion code.
struct _GET_DEVICE_ID {
    unsigned char bytes[15];
};
/// Raw response of Get BT Interface Capabilities, without the completion code.
struct _GET_BMC_CAPABILITIES {
    unsigned char bytes[5];
};

/// The road to the rack management controller: single IPMI messages through the host's system
/// interface, a CLI command with a long text argument cut into 60-byte messages, and the door bell.
/// An object serves one operation of one thread; its destructor closes the device. Opening tries
/// twice, loads the driver's modules in between, and takes about 6 seconds where there is no
/// device; every later operation of such an object fails.
class IPMIUtils {
public:
    IPMIUtils();
    virtual ~IPMIUtils();
    IPMIUtils(const IPMIUtils &) = delete;
    IPMIUtils &operator=(const IPMIUtils &) = delete;

    /// One exchange. Waits without limit for the answer. A rejected command counts as success: the
    /// completion code isn't looked at.
    /// @param lun  ignored, 0 is sent
    /// @param response  takes at most `responseLength` bytes behind the completion code; bytes that
    ///                  the answer doesn't cover stay as they were
    /// @return 1, or 0 on failure
    unsigned char execute(unsigned char netfn, unsigned char cmd, unsigned char lun,
                          unsigned char *request, unsigned char &requestLength,
                          unsigned char *response, unsigned char &responseLength);

    /// One transfer of a command with its argument. The caller holds no lock, sets both statuses to
    /// 0 before, and sees them changed only where the transfer was cut short.
    /// @return 1 done or refused by the controller, 0 an exchange failed, -1 no memory
    int RMC_CLI_Exec(const char *command, const char *argument, unsigned char *transferStatus,
                     unsigned char *exitStatus);

    /// A whole transfer, one at a time in the process, with the controller's answer logged.
    /// @return 0 success, 1 failure
    int RMC_CLI_Cmd_Execution(const std::string &command, const std::string &argument);

    bool checkIPMIDBRequest(); ///< whether the door bell holds an inventory request
    /// @param type  1 or 2 @return what checkIPMIBuffer() says, 0 on failure or another type
    int checkIPMIDBGenericRequest(int type);
    /// @param buffer  at least 254 bytes
    int checkIPMIBuffer(int type, unsigned char *buffer);

private:
    static std::mutex mlock; // one transfer or door-bell read at a time

    int fd = -1; // -1 where the device could not be opened
};

/// @return 1 with the record filled, 0 on failure
unsigned char GetDeviceIdInfo(_GET_DEVICE_ID &record);
unsigned char GetCapabilities(_GET_BMC_CAPABILITIES &record);
int GetPartitionId(unsigned int ignored); ///< 1 where the controller says so, else 0

} // namespace ipmi
