#pragma once

#include "platform/orbOSInterface.h"

class orbSystemInterfaceFactory {
public:
    static orbOSInterface *getSystemInterface(); ///< the one interface; nobody frees it
};
