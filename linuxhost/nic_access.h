#pragma once

#include <functional>
#include <string>
#include <vector>

#include "nic_report.h"

/// All network adapters of the machine below a root, in the natural order of their names: the
/// interfaces of Ethernet or InfiniBand that stand for a device. Left out are those that software
/// alone makes up (bridges, bonds, tunnels) and the virtual functions of an adapter in the list.
/// Source: sysfs. An interface that goes meanwhile is left out.
/// @return 0 or the errno of the folder of interfaces
int read_nics(const std::string &root, std::vector<ORB_NIC> &nics);

/// One of these adapters. @return 0, ENODEV: there is none of that name
int read_nic(const std::string &root, const std::string &name, ORB_NIC &nic);

/// Passes one ethtool command of the kernel (linux/ethtool.h) on to an interface's driver, which
/// fills it in. @return 0 or errno
using ETHTOOL_CALL = std::function<int(void *command)>;

/// Asks a driver for all that it tells; a command that it doesn't know costs its facts only.
ORB_ETHTOOL_FACTS read_ethtool_facts(const ETHTOOL_CALL &call);

/// The calls of an interface of this machine: SIOCETHTOOL on a datagram socket of their own.
ETHTOOL_CALL ethtool_of_this_machine(const std::string &name);
