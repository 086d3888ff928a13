#include "network/NICEventMonitor.h"

#include "core/Logger.h"

int NICEventMonitor::startMonitoring() {
    ORB_LOG_DEBUG(NIC_EVENT, "Creating a producer thread");
    return 0;
}

int NICEventMonitor::stopMonitoring() {
    ORB_LOG_DEBUG(NIC_EVENT, "Stopping event monitoring for Ethernet");
    ORB_LOG_DEBUG(NIC_EVENT, "Signalled for stop");
    return 0;
}
