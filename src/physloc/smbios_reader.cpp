#include "physloc/smbios_reader.h"

#include <fcntl.h>
#include <syslog.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <memory>
#include <mutex>
#include <new>

#include "core/format_text.h"
#include "core/orbMutexLocker.h"
#include "hostaccess/orbHostFiles.h"
#include "hostaccess/orbHostProcess.h"
#include "hostaccess/orbHostSyslog.h"

namespace {
constexpr char SMBIOS_DEVICE[] = "/vmfs/devices/char/mem/smbios";
constexpr std::size_t IMAGE_LIMIT = 65536;

constinit std::mutex smbiosMutex;
constinit int smbiosInitialized = 0;                      // guarded by smbiosMutex; so below
constinit std::unique_ptr<std::uint8_t[]> psmbiosTableEP; // the image as it was read
constinit const std::uint8_t *psmbiosTable = nullptr;     // its structures
constinit int smbiosTableLength = 0;                      // bytes of them that were read

/// What differs between the three kinds of record.
struct RECORD_KIND {
    int type;
    std::size_t size;
    const char *noMemory; // the line about a failed allocation
};
constexpr RECORD_KIND KINDS[] = {
    {TYPE_SYSTEM_SLOT, sizeof(DmiSystemSlot),
     "Malloc failed for SystemSlots table with pSlotTbl : 0x0 "},
    {TYPE_ONBOARD_DEVICE, sizeof(DmiOnboardDevicesEx),
     "Malloc failed for Onboard Devices Extended Info table with pDevice : 0x0"},
    {TYPE_SYSTEM_INFO, sizeof(DmiSystemInfo),
     "Malloc failed for SystemInfo table with SystemInfo : 0x0 "},
};

const RECORD_KIND *find_kind(int type) {
    for (const RECORD_KIND &kind : KINDS)
        if (kind.type == type) return &kind;
    return nullptr;
}

/// Reads the device. @return the bytes in `image`, 0 or less on failure, with errno
ssize_t read_image(std::uint8_t *image) {
    const std::string path = IorbHostFiles::get().map(SMBIOS_DEVICE);
    const int fd = ::open(path.c_str(), O_RDONLY | O_SYNC | O_CLOEXEC);
    if (fd < 0) return -1;
    const ssize_t size = ::read(fd, image, IMAGE_LIMIT);
    const int err = errno;
    ::close(fd);
    errno = err;
    return size;
}
} // namespace

int SmBiosInit() {
    const orbMutexLocker<std::mutex> lock(smbiosMutex);
    if (smbiosInitialized != 0) return 0;

    errno = 0; // a device without a table leaves no error of an earlier call behind
    std::unique_ptr<std::uint8_t[]> image(new (std::nothrow) std::uint8_t[IMAGE_LIMIT]{});
    if (!image) return -1;
    const ssize_t size = read_image(image.get());
    if (size <= 0) return -1;
    const auto table = find_smbios_table({image.get(), static_cast<std::size_t>(size)});
    if (!table) return -1;

    psmbiosTable = table->data();
    smbiosTableLength = static_cast<int>(table->size());
    psmbiosTableEP = std::move(image);
    smbiosInitialized = 1;
    return 0;
}

void SmBiosDeinit() {
    const orbMutexLocker<std::mutex> lock(smbiosMutex);
    psmbiosTableEP.reset();
    psmbiosTable = nullptr;
    smbiosTableLength = 0;
    smbiosInitialized = 0;
}

int getSmbiosRecordsByType(int type, void **records, int *count) {
    *records = nullptr;
    if (count != nullptr) *count = 0;

    const orbMutexLocker<std::mutex> lock(smbiosMutex);
    if (smbiosInitialized == 0) return -1;
    const SMBIOS_STRUCTURE table(psmbiosTable, static_cast<std::size_t>(smbiosTableLength));
    const int found = count_smbios_structures(table, type);
    void *array = nullptr;
    if (allocMemForRecords(type, &array, found) != 0) return -1;

    std::size_t index = 0;
    orbSmbiosWalk walk(table);
    for (auto structure = walk.next(); !structure.empty(); structure = walk.next()) {
        if (structure[0] != type) continue;
        if (type == TYPE_SYSTEM_SLOT)
            (void)DmiSystemSlot_Decode(static_cast<DmiSystemSlot *>(array), structure, index);
        else if (type == TYPE_ONBOARD_DEVICE)
            (void)DmiOnboardDevicesEx_decode(static_cast<DmiOnboardDevicesEx *>(array), structure,
                                             index);
        else
            (void)DmiSystemInfo_decode(static_cast<DmiSystemInfo *>(array), structure, index);
        ++index;
    }
    *records = array;
    if (count != nullptr) *count = found;
    return 0;
}

int allocMemForRecords(int type, void *records, int count) {
    const RECORD_KIND *kind = find_kind(type);
    if (count < 1 || kind == nullptr) return -1;
    void *array = std::calloc(static_cast<std::size_t>(count), kind->size);
    if (array == nullptr) {
        IorbHostSyslog::get().write("orb", LOG_USER, LOG_WARNING, kind->noMemory);
        return -1;
    }
    *static_cast<void **>(records) = array;
    return 0;
}

void DmiSystemSlot_Print(const DmiSystemSlot *slots, int count) {
    if (slots == nullptr) return;
    IorbHostProcess &process = IorbHostProcess::get();
    for (int i = 0; i < count; ++i) {
        const DmiSystemSlot &slot = slots[i];
        std::string text = format_text("System Slot record #%d  (Type %d)\n", i, int{slot.type});
        text += format_text("   length              : 0x%x\n", unsigned{slot.length});
        text += format_text("   handle              : 0x%x\n", unsigned{slot.handle});
        text += format_text("   designation         : %s\n", slot.designation);
        text += format_text("   type                : 0x%x\n", unsigned{slot.slotType});
        text += format_text("   busDataWidth        : 0x%x\n", unsigned{slot.busDataWidth});
        text += format_text("   currentUsage        : 0x%x\n", unsigned{slot.currentUsage});
        text += format_text("   slotLength          : 0x%x\n", unsigned{slot.slotLength});
        text += format_text("   id                  : 0x%x\n", unsigned{slot.id});
        text += format_text("   characteristics1    : 0x%x\n", unsigned{slot.characteristics1});
        text += format_text("   characteristics2    : 0x%x\n", unsigned{slot.characteristics2});
        text += format_text("   segmentGroupNum     : 0x%x\n", unsigned{slot.segmentGroupNum});
        text += format_text("   busNum              : 0x%x\n", unsigned{slot.busNum});
        text += format_text("   devFuncNum          : 0x%x\n", unsigned{slot.devFuncNum});
        process.writeStandardOutput(text);
    }
}
