#pragma once

#include <string>

/// What a location reads where it can't be told.
constexpr char UNKNOWN_LOCATION[] = "FFFFFFFFFFFFFFFF";

/// Tells where units sit, each as a code of sixteen upper-case hexadecimal digits. An unknown
/// location is UNKNOWN_LOCATION, never an empty text. PCI addresses have the twelve characters
/// "0000:c3:00.1". Get it from orbPhysLocFactory; any thread may ask.
class orbPhysLocInterface {
public:
    /// @return 1 where the interface can serve, 0 where it can't
    virtual int Initialize() = 0;
    /// Gives up what Initialize() took. Not to be called while another thread asks for a location.
    virtual void UnInitialize() = 0;
    /// The slot of a device in decimal digits: "00" on the system board, "0" where unknown.
    virtual std::string getPCIeSlotForIOSlot(const std::string &address) = 0;
    virtual std::string getPhysLocForIOSlot(const std::string &address) = 0;
    virtual std::string getPhysLocForNetworkAdapter(const std::string &address) = 0;
    /// @param address  of the drive's controller
    virtual std::string getPhysLocForChassisDriveSlot(const std::string &address, int bay) = 0;
    /// @param address  of the drive's controller
    virtual std::string getPhysLocForExternalDrive(const std::string &address) = 0;
    /// @param address  of the controller that the backplane hangs on
    virtual std::string getPhysLocForChassisStorageBackplane(const std::string &address,
                                                             int box) = 0;
    /// @return 1 in the same chassis, 0 in two; -1 an address is invalid, -2 a place is unknown,
    ///         -3 there is no encoder. Only 1 means yes.
    virtual int checkPCIDevicesLocatedInSameChassis(const std::string &first,
                                                    const std::string &second) = 0;
    /// @return 2 on the system board, 3 on a card in a slot, -4 unknown
    virtual int checkIfPCICardIsOnBoard(const std::string &address) = 0;
    virtual ~orbPhysLocInterface() = default;
    /// File name of the encoder library, "Mock-PL" without one.
    virtual std::string getPhysLocLibraryName() = 0;
};
