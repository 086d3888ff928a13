#include "hostaccess/orbHostLibraries.h"

#include <dlfcn.h>

#include "hostaccess/orbSeam.h"

namespace {
class HostLibraries final : public IorbHostLibraries {
public:
    void *open(const char *name, int flags) override { return ::dlopen(name, flags); }
    void *symbol(void *library, const char *name) override { return ::dlsym(library, name); }
    int close(void *library) override { return ::dlclose(library); }
    char *error() override { return ::dlerror(); }
};
constinit orbImmortal<HostLibraries> host;
constinit orbSeam<IorbHostLibraries> seam{host.value};
} // namespace

IorbHostLibraries &IorbHostLibraries::get() {
    return seam.get();
}
IorbHostLibraries *IorbHostLibraries::replace(IorbHostLibraries *next) {
    return seam.replace(next);
}
