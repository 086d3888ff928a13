#pragma once

#include <atomic>
#include <cstdint>
#include <mutex>
#include <span>
#include <string>
#include <vector>

#include "physloc/orbPhysLocInterface.h"

using physloc_type_t = std::uint32_t; ///< what kind of unit a location is for
using physloc_rtn_t = std::int32_t;   ///< what the encoder library answered, 0 for success

/// What sets one platform's encoder apart from the other's.
struct ORB_ENCODER_PLATFORM {
    const char *library; ///< file name
    const char *tag;     ///< module tag of the log
    /// Where each element of a GeoID goes in the library's record. As many as a GeoID has.
    std::span<const std::size_t> elementOffsets;
    std::size_t slotElement; ///< the element that is the slot
    physloc_type_t onBoardNetworkAdapter;
    physloc_type_t externalDrive;
    physloc_type_t chassisDriveSlot;
    int firstBay, lastBay; ///< of a chassis, both valid
    physloc_type_t chassisStorageBackplane;
    bool numbersBoxes; ///< backplanes are boxes 1 and 2, and the number goes into the location
};

/// Asks a platform's encoder library for locations. The base of both encoders, which differ in
/// data alone.
class orbPhysLocEncoder : public orbPhysLocInterface {
public:
    orbPhysLocEncoder(const orbPhysLocEncoder &) = delete;
    orbPhysLocEncoder &operator=(const orbPhysLocEncoder &) = delete;

    int Initialize() override;    ///< loads the library; 1 also where it is loaded already
    void UnInitialize() override; ///< closes it; locations are unknown from then on
    std::string getPCIeSlotForIOSlot(const std::string &address) override;
    std::string getPhysLocForIOSlot(const std::string &address) override;
    std::string getPhysLocForNetworkAdapter(const std::string &address) override;
    std::string getPhysLocForChassisDriveSlot(const std::string &address, int bay) override;
    std::string getPhysLocForExternalDrive(const std::string &address) override;
    std::string getPhysLocForChassisStorageBackplane(const std::string &address, int box) override;
    int checkPCIDevicesLocatedInSameChassis(const std::string &first,
                                            const std::string &second) override;
    int checkIfPCICardIsOnBoard(const std::string &address) override;
    std::string getPhysLocLibraryName() override;
    /// The location of a unit.
    /// @param geoID  elements of the place of the device at `address`, decimal digits
    /// @param rtn    may be null; else takes the library's answer, 1 where it wasn't asked
    /// @param extra  a decimal number such as a bay, "NA" for none
    /// @return UNKNOWN_LOCATION where the GeoID has too few or too many elements, the library isn't
    ///         loaded or refuses
    virtual std::string physlocEncode(const std::string &address,
                                      const std::vector<std::string> &geoID, physloc_type_t type,
                                      physloc_rtn_t *rtn, const std::string &extra);

protected:
    /// @param lock  the platform's own interfaceLock
    orbPhysLocEncoder(const ORB_ENCODER_PLATFORM &encoderPlatform, std::mutex &lock)
        : platform(encoderPlatform), interfaceLock(lock) {}

private:
    using INIT_DATA = void (*)(void *record, int version);
    using ENCODE = int (*)(void *record, std::uint64_t *value);

    bool isAddress(const std::string &address, const char *what) const;
    bool isSplit(const std::vector<std::string> &geoID) const;
    void *findSymbol(const char *name) const;
    std::string encodeChassisUnit(const std::string &address, physloc_type_t type,
                                  const std::string &extra, const char *what);

    const ORB_ENCODER_PLATFORM &platform;
    std::mutex &interfaceLock; // held by Initialize and UnInitialize
    // Set last by Initialize and cleared first by UnInitialize: who sees it set may use the
    // entries without a lock.
    std::atomic<bool> initialized{false};
    void *libraryHandle = nullptr; // guarded by interfaceLock
    INIT_DATA physloc_init_data = nullptr;
    ENCODE physloc_encode = nullptr;
};
