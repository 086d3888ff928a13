// Tells what the registries hold at `main`, in a program that links liborb's objects and a unit
// that registers itself as one shared library.
#include <cstdio>

#include "storage/orbRegistryManager.h"

int main() {
    using Classes = orbRegistryManager<_ORB_STORAGE_CONTROLLER_CLASS_METADATA>;
    using Factories = orbRegistryManager<IorbStorageControllerFactory *>;
    for (const auto &row : Classes::getRegistryList()) std::printf("%s\n", row.name.c_str());
    std::printf("%zu factories\n", Factories::getRegistryList().size());
    return 0;
}
