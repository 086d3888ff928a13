#pragma once

#include <functional>
#include <string>
#include <vector>

#include "pci_report.h"

/// Told of what went wrong: what, why.
using COMPLAINT = std::function<void(const std::string &, const std::string &)>;

/// All PCI functions of the machine below a root, in the order of their addresses. Source: libpci
/// over sysfs, and the folders of sysfs that tell a function's interface or host.
/// Ends the process with status 1, after a complaint, where libpci can't go on. One caller at a
/// time.
/// @param complain  also told of what costs one field only
/// @return false, after a complaint, where the machine has no PCI in sysfs
bool read_pci_functions(const std::string &root, const COMPLAINT &complain,
                        std::vector<ORB_PCI_FUNCTION> &functions);

/// Reads the machine's pci.ids into `names`. Without it the numbers stand for the names, and there
/// is a complaint.
void read_pci_names(const std::string &root, const COMPLAINT &complain, PCI_NAMES &names);
