#pragma once

#include <string>
#include <vector>

#include "fc_report.h"

/// All Fibre Channel ports of the machine below a root, in the order of their hosts' numbers. The
/// virtual ports that a physical one carries for guests are left out, and so is a port that goes
/// meanwhile. Source: sysfs; the class of Fibre Channel hosts, what drivers add to their SCSI
/// hosts, and the PCI function below.
/// @return 0 or the errno of that class's folder; a machine without the class has no port
int read_fc_ports(const std::string &root, std::vector<ORB_FC_PORT> &ports);
