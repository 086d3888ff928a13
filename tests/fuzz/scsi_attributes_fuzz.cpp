#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>

#include "core/sysfs_readers.h"
#include "hostaccess/orbHostFiles.h"
#include "storage/scsi_hosts.h"
#include "support/quiet_world.h"

namespace {
/// A host with one SCSI host, whose card's attributes all hold the same bytes.
class OneHost final : public QuietWorld {
public:
    OneHost() {
        if (::mkdtemp(directory) == nullptr) std::abort();
        base = directory;
        for (const char *const folder :
             {"/sys", "/sys/class", "/sys/class/scsi_host", "/sys/class/scsi_host/host0",
              "/sys/card", "/sys/card/host0"})
            if (::mkdir((base + folder).c_str(), 0700) != 0) std::abort();
        if (::symlink("../../../card/host0", (base + LINK).c_str()) != 0) std::abort();
        const std::string card = base + "/sys/card/";
        fd = ::open((card + NAMES[0]).c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600);
        if (fd < 0) std::abort();
        for (const char *const name : {NAMES[1], NAMES[2], NAMES[3]})
            if (::symlink(NAMES[0], (card + name).c_str()) != 0) std::abort();
    }
    std::string map(const std::string &hostPath) override {
        return base.empty() ? QuietWorld::map(hostPath) : base + hostPath;
    }
    void fill(const std::uint8_t *data, std::size_t size) const {
        if (::ftruncate(fd, 0) != 0 || ::pwrite(fd, data, size, 0) != static_cast<ssize_t>(size))
            std::abort();
    }
    ~OneHost() {
        ::close(fd);
        for (const char *const name : NAMES) ::unlink((base + "/sys/card/" + name).c_str());
        ::unlink((base + LINK).c_str());
        for (const char *const folder :
             {"/sys/card/host0", "/sys/card", "/sys/class/scsi_host/host0", "/sys/class/scsi_host",
              "/sys/class", "/sys", ""})
            ::rmdir((base + folder).c_str());
    }

private:
    static constexpr char LINK[] = "/sys/class/scsi_host/host0/device";
    static constexpr const char *NAMES[] = {"device", "vendor", "subsystem_device",
                                            "subsystem_vendor"};
    int fd = -1;
    char directory[32] = "/tmp/orb-fuzz-host-XXXXXX";
    std::string base;
};
} // namespace

/// Any bytes as the attributes of a PCI card: the card is there whatever they hold, and its ids are
/// those of the first line.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    static const OneHost host;
    host.fill(data, size);
    ORB_PCI_CARD_IDS ids;
    if (!read_pci_card_ids("/sys/class/scsi_host/host0", ids)) std::abort();
    const std::string text(reinterpret_cast<const char *>(data), std::min<std::size_t>(size, 4096));
    std::uint32_t number = 0xFFFFFFFF;
    if (decode_sysfs_number(text.substr(0, text.find('\n')).c_str(), "%x", &number) != 0)
        std::abort();
    if (ids.chipsetID != (number << 16) + number || ids.boardID != ids.chipsetID) std::abort();
    std::string link;
    if (!read_device_link("/sys/class/scsi_host/host0", link)) std::abort();
    if (!pci_location_of_host("/sys/class/scsi_host/host0", link).empty()) std::abort();
    return 0;
}
