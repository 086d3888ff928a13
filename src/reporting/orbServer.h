#pragma once

#include "core/orbThread.h"

/// The control server's thread: it is started, woken for its end and joined, all by the entry
/// program's thread. It serves no requests yet and makes no request pipe.
class ORBServer {
public:
    static void initializeORBServer();
    static void stopORBServer();

    static orbThread thread; // the entry program's thread alone
};

/// Thread entry. @return null
void *startTestEventServer(void *unused);
