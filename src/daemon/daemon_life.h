#pragma once

#include <string>

#include "daemon/daemon_options.h"

class orbConfig;

/// The daemon's life: takes the pid file, starts everything in order, waits for a request to stop,
/// stops everything in order.
/// @return the exit status; in the process that the user started for a daemon in the background,
///         that of its start
int run_daemon(const ORB_DAEMON_OPTIONS &options);

/// Where the configuration lies on the host.
constexpr char ORB_CONFIG_FILE[] = "/etc/config/vantor/orb/orb.conf";

/// Reads the configuration, where that was not done yet.
/// @param fault  takes one of the two faults of the file that keep it from coming into being
/// @return null after such a fault
const orbConfig *read_config(std::string &fault);

/// The start steps that the managers' caches rely on: SMBIOS reader, GeoID map, PCI list.
void prepare_host_facts();
