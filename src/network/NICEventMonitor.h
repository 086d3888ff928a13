#pragma once

/// A source of link events on hosts whose kernel tells them. This host's doesn't: the network
/// manager polls, and nothing is to be started or stopped here.
class NICEventMonitor {
public:
    int startMonitoring(); ///< 0; starts no thread
    int stopMonitoring();  ///< 0
};
