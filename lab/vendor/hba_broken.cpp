// Libraries of the FC HBA API that nobody can use, one for each fault: built with
// ORB_LAB_HBA_REFUSES (the registration), ORB_LAB_HBA_VERSION_0, ORB_LAB_HBA_LOAD_FAILS, or,
// without a registration at all, with none of them.

#include "fc/hba_api.h"

namespace {
#if defined(ORB_LAB_HBA_VERSION_0) || defined(ORB_LAB_HBA_LOAD_FAILS)
HBA_UINT32 adapters_of_nobody() {
    return 1;
}
HBA_UINT32 version() {
#ifdef ORB_LAB_HBA_VERSION_0
    return 0;
#else
    return 1;
#endif
}
HBA_STATUS load() {
    return HBA_STATUS_ERROR;
}
#endif
} // namespace

#if defined(ORB_LAB_HBA_REFUSES)
extern "C" __attribute__((visibility("default"))) HBA_STATUS
HBA_RegisterLibrary(HBA_ENTRYPOINTS *) {
    return HBA_STATUS_ERROR;
}
#elif defined(ORB_LAB_HBA_VERSION_0) || defined(ORB_LAB_HBA_LOAD_FAILS)
extern "C" __attribute__((visibility("default"))) HBA_STATUS
HBA_RegisterLibrary(HBA_ENTRYPOINTS *table) {
    table->GetVersionHandler = version;
    table->LoadLibraryHandler = load;
    table->GetNumberOfAdaptersHandler = adapters_of_nobody;
    return HBA_STATUS_OK;
}
#else
extern "C" __attribute__((visibility("default"))) HBA_UINT32 example_hba_edition();
HBA_UINT32 example_hba_edition() {
    return 1;
}
#endif
