#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>
#include <string_view>

#include "fc/hba_loader.h"
#include "hostaccess/orbHostFiles.h"
#include "hostaccess/orbHostLibraries.h"

namespace {
void require(bool holds) {
    if (!holds) std::abort();
}

/// hba.conf is a file in memory; each path is a library of one of eight kinds.
class AnyHost final : public IorbHostFiles, public IorbHostLibraries {
public:
    AnyHost(const std::uint8_t *data, std::size_t size)
        : file(::memfd_create("hba.conf", MFD_CLOEXEC)) {
        require(file >= 0 && ::write(file, data, size) == static_cast<ssize_t>(size));
        IorbHostFiles::replace(this);
        IorbHostLibraries::replace(this);
    }
    ~AnyHost() override {
        IorbHostFiles::replace(nullptr);
        IorbHostLibraries::replace(nullptr);
        ::close(file);
    }
    AnyHost(const AnyHost &) = delete;
    AnyHost &operator=(const AnyHost &) = delete;

    std::string map(const std::string &hostPath) override {
        require(hostPath == HBA_CONF_FILE);
        return "/proc/self/fd/" + std::to_string(file);
    }
    void *open(const char *name, int) override {
        const std::string_view path(name);
        require(path.size() < HBA_LIBRARY_PATH_BYTES);
        for (const char c : path)
            require((c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') ||
                    std::strchr("_-./", c) != nullptr);
        ++opens;
        unsigned sum = static_cast<unsigned>(path.size());
        for (const char c : path) sum += static_cast<unsigned char>(c);
        const std::size_t kind = sum % kinds.size();
        if (kind == 0) return nullptr;
        ++kinds[kind];
        return &kinds[kind];
    }
    void *symbol(void *library, const char *name) override {
        require(std::string_view(name) == "HBA_RegisterLibrary");
        static constexpr std::array<HBA_REGISTERLIBRARY, 8> entries = {
            nullptr, nullptr, enrol<2>, enrol<3>, enrol<4>, enrol<5>, enrol<6>, enrol<7>};
        return reinterpret_cast<void *>(entries[kindOf(library)]);
    }
    int close(void *library) override {
        require(--kinds[kindOf(library)] >= 0);
        return 0;
    }
    char *error() override { return nullptr; }

    std::size_t opens = 0;

private:
    std::size_t kindOf(void *library) {
        return static_cast<std::size_t>(static_cast<int *>(library) - kinds.data());
    }
    template <int Kind> static HBA_STATUS enrol(HBA_ENTRYPOINTS *table) {
        table->GetVersionHandler = []() -> HBA_UINT32 { return Kind == 3 ? 0 : 1; };
        table->LoadLibraryHandler = []() -> HBA_STATUS { return Kind == 4 ? 5 : 0; };
        table->GetNumberOfAdaptersHandler = []() -> HBA_UINT32 {
            return Kind == 5 ? 0x80000001 : Kind == 6 ? 3 : 0x7FFFFFFF;
        };
        table->GetAdapterNameHandler = [](HBA_UINT32 index, char *name) -> HBA_STATUS {
            std::memset(name, static_cast<int>('a' + index % 26), HBA_ADAPTER_NAME_BYTES);
            return index % 2;
        };
        table->OpenAdapterHandler = [](char *name) -> HBA_HANDLE {
            return 0x10000u * Kind + static_cast<unsigned char>(name[0]);
        };
        return Kind == 2 ? 1 : 0;
    }

    int file;
    std::array<int, 8> kinds{}; // open handles of each kind
};
} // namespace

/// Any bytes as hba.conf, loaded twice: at most 32 libraries are opened, by clean paths, none is
/// closed that isn't open, the spare row stays empty, and each open adapter has a good handle.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    librarytable = {};
    adaptertable = {};
    number_of_total_adapters = 0;
    AnyHost host(data, size);
    require(HBA_LoadLibrary() == HBA_STATUS_OK);
    const std::size_t opens = host.opens;
    require(opens <= HBA_LIBRARIES);
    require(HBA_LoadLibrary() == HBA_STATUS_OK && host.opens == 2 * opens);
    const HBA_LIBRARY_ROW none{};
    for (std::size_t row = 0; row < librarytable.size(); ++row) {
        const HBA_LIBRARY_ROW &library = librarytable[row];
        require(library.status <= HBA_LIBRARY_LET_GO);
        require(library.name[HBA_LIBRARY_NAME_BYTES - 1] == '\0');
        require((library.name[0] != '\0') == (row < opens));
        if (row >= opens) require(std::memcmp(&library, &none, sizeof none) == 0);
    }
    require(HBA_GetNumberOfAdapters() <= HBA_ADAPTERS);
    for (HBA_UINT32 index = 0; index < number_of_total_adapters; ++index) {
        char name[HBA_ADAPTER_NAME_BYTES];
        require(HBA_GetAdapterName(index, name) == HBA_STATUS_OK);
        require(std::find(std::begin(name), std::end(name), '\0') != std::end(name));
        const HBA_HANDLE handle = HBA_OpenAdapter(name);
        require((handle & 0xFFFF) == static_cast<unsigned char>(name[0]));
        HBA_UINT32 library = 0;
        HBA_HANDLE vendorHandle = 0;
        require(HBA_CheckLibrary(handle, &library, &vendorHandle) == HBA_STATUS_OK);
        require(library < opens && (vendorHandle & 0xFFFF) == (handle & 0xFFFF));
    }
    require(HBA_FreeLibrary() == HBA_STATUS_OK);
    for (const HBA_LIBRARY_ROW &library : librarytable) require(library.status != 1);
    return 0;
}
