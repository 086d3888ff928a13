#include "storage/orbRegistryManager.h"

#include <utility>

namespace {
bool has_same_key(const _ORB_STORAGE_CONTROLLER_CLASS_METADATA &one,
                  const _ORB_STORAGE_CONTROLLER_CLASS_METADATA &other) {
    return one.name == other.name;
}
bool has_same_key(const IorbStorageControllerFactory *one,
                  const IorbStorageControllerFactory *other) {
    return one == other;
}
} // namespace

template <typename T> constinit std::vector<T> *orbRegistryManager<T>::_registryList = nullptr;

template <typename T> std::vector<T> &orbRegistryManager<T>::list() {
    if (_registryList == nullptr) _registryList = new std::vector<T>;
    return *_registryList;
}

template <typename T> orbRegistryManager<T>::orbRegistryManager(T entry) {
    std::erase_if(list(), [&entry](const T &known) { return has_same_key(known, entry); });
    list().push_back(std::move(entry));
}

template <typename T> const std::vector<T> &orbRegistryManager<T>::getRegistryList() {
    return list();
}

template class orbRegistryManager<_ORB_STORAGE_CONTROLLER_CLASS_METADATA>;
template class orbRegistryManager<IorbStorageControllerFactory *>;
