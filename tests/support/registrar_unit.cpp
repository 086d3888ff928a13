// A class and a factory that register themselves, as those of liborb do: static objects of a source
// that no other one names.
#include "storage/orbRegistryManager.h"
#include "support/IdleFactory.h"

namespace {
bool claims_nothing(std::uint32_t, std::uint32_t, std::string &, bool, orbStorageController **) {
    return false;
}
void refreshes_nothing() {}

const _ORB_STORAGE_CONTROLLER_CLASS_METADATA __orb_storage_controller_class_info{
    "selfRegistered", claims_nothing, refreshes_nothing};
const orbRegistryManager<_ORB_STORAGE_CONTROLLER_CLASS_METADATA>
    __orb_storage_controller_class_registration(__orb_storage_controller_class_info);

IdleFactory factory;
const orbRegistryManager<IorbStorageControllerFactory *>
    __orb_storage_controller_factory_registration(&factory);
} // namespace
