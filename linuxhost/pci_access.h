#pragma once

#include <functional>
#include <string>
#include <vector>

#include "pci_report.h"

/// Told of what went wrong: what, why.
using COMPLAINT = std::function<void(const std::string &, const std::string &)>;

/// All PCI functions of the machine below a root, in the order of their addresses. Source: sysfs.
/// A function that goes meanwhile is left out. Each Fibre Channel adapter has a name that begins
/// with "vmhba", each SCSI host too.
/// @param complain  also told of entries that are no functions
/// @return false, after a complaint, where the machine has no PCI in sysfs
bool read_pci_functions(const std::string &root, const COMPLAINT &complain,
                        std::vector<ORB_PCI_FUNCTION> &functions);

/// Reads the machine's pci.ids into `names`. Without it the numbers stand for the names, and there
/// is a complaint.
void read_pci_names(const std::string &root, const COMPLAINT &complain, PCI_NAMES &names);
