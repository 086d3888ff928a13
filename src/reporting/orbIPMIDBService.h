#pragma once

#include <condition_variable>
#include <mutex>

#include "core/orbThread.h"

/// Polls the rack management controller's door bell and passes its wish for a fresh inventory on to
/// the aggregator. Started and stopped once in a process.
///
/// Threads: startIPMIDBMonitor() is the monitor's thread; the entry program's starts and stops.
/// Locks:   cmutex, never held during an exchange.
class orbIPMIDBService {
public:
    static orbIPMIDBService &getInstance();

    void startorbIPMIDBService();
    void stoporbIPMIDBService(); ///< ends the wait at once, waits for a running poll, joins
    void startMonitoring();      ///< the loop

private:
    static orbThread thread; // the entry program's thread alone
    static std::mutex cmutex;
    static std::condition_variable cond;
    static bool stopMoni;        // guarded by cmutex: stop request, never cleared
    static bool checkIPMIDevice; // guarded by cmutex: a poll is due
};

/// Thread entry. @return null
void *startIPMIDBMonitor(void *unused);
