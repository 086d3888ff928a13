#include "hostaccess/orbHostFiles.h"

#include "hostaccess/orbSeam.h"

namespace {
class HostFiles final : public IorbHostFiles {
public:
    std::string map(const std::string &hostPath) override { return hostPath; }
};
constinit orbImmortal<HostFiles> host;
constinit orbSeam<IorbHostFiles> seam{host.value};
} // namespace

IorbHostFiles &IorbHostFiles::get() {
    return seam.get();
}
IorbHostFiles *IorbHostFiles::replace(IorbHostFiles *next) {
    return seam.replace(next);
}

std::string shell_path(const std::string &hostPath) {
    constexpr const char *HARMLESS = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz"
                                     "0123456789/._+-";
    std::string path = IorbHostFiles::get().map(hostPath);
    if (path.find_first_not_of(HARMLESS) == std::string::npos) return path;
    std::string quoted = "'";
    for (const char c : path) {
        if (c == '\'') {
            quoted += "'\\''";
        } else {
            quoted += c;
        }
    }
    return quoted + "'";
}
