#include "platform/orbSystemInterfaceFactory.h"

#include "platform/orbVmwareOSInterface.h"

namespace {
orbOSInterface *const VmwareOSObj = orbVmwareOSInterface::getInstance();
}

orbOSInterface *orbSystemInterfaceFactory::getSystemInterface() {
    return VmwareOSObj;
}
