#include "reporting/orbServer.h"

#include "core/Logger.h"
#include "reporting/orbStopPipe.h"

namespace {
// The anonymous pipe that wakes the server for its end, read end first; -1 while there is none. The
// starting thread makes it before the server's thread, which closes it.
orbStopPipe serStopPipeFd;
} // namespace

orbThread ORBServer::thread{"control server"};

void ORBServer::initializeORBServer() {
    // Made here, so that a stop that comes at once finds it.
    (void)serStopPipeFd.open(); // the thread reports a failure
    if (thread.create(startTestEventServer, nullptr) != 0) {
        ORB_LOG_DEBUG(ORB_SERVER, "Unable to spawn a thread to handle event.");
        serStopPipeFd.close();
    }
}

void ORBServer::stopORBServer() {
    ORB_LOG_INFO(ORB_SERVER, "Stopping ORB Server.");
    if (!serStopPipeFd.wake()) return;
    ORB_LOG_DEBUG(ORB_SERVER, "For ORB Server to stop, write on serStopPipeFd.");
    (void)thread.join(); // the thread was woken, and a join that fails has nothing to wait for
    ORB_LOG_DEBUG(ORB_SERVER, "Signalled for stop");
}

void *startTestEventServer(void *) {
    ORB_LOG_DEBUG(ORB_SERVER, "ORB Server Thread started.");
    if (serStopPipeFd.readEnd() < 0) {
        ORB_LOG_ERROR(ORB_SERVER, "Unable to open a pipe for serStopPipeFd file descriptor");
        return nullptr;
    }
    serStopPipeFd.waitForWake();
    serStopPipeFd.close();
    return nullptr;
}
