#include "core/orbThread.h"

#include <cerrno>

#include "hostaccess/orbHostProcess.h"

int orbThread::create(void *(*entry)(void *), void *arg) {
    const int rc = IorbHostProcess::get().createThread(&handle, entry, arg);
    started = rc == 0;
    return rc;
}

int orbThread::join() {
    if (!started) return ESRCH;
    started = false;
    return IorbHostProcess::get().joinThread(handle, name);
}
