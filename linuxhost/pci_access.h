#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "pci_report.h"
#include "sysfs_folder.h"

/// Told of what went wrong: what, why.
using COMPLAINT = std::function<void(const std::string &, const std::string &)>;

/// How names of SCSI and Fibre Channel hosts begin; their number follows.
constexpr std::string_view PCI_ADAPTER_STEM = "vmhba";

/// All PCI functions of the machine below a root, in the order of their addresses. Source: sysfs.
/// A function that goes meanwhile is left out. Each Fibre Channel adapter has a name that begins
/// with "vmhba", each SCSI host too.
/// @param complain  also told of entries that are no functions
/// @return false, after a complaint, where the machine has no PCI in sysfs
bool read_pci_functions(const std::string &root, const COMPLAINT &complain,
                        std::vector<ORB_PCI_FUNCTION> &functions);

/// One of these functions but for its address, its slot, and the number that an adapter without a
/// host gets. @param devices  the bus's folder of functions  @param name  the address
/// @return false where there is none
bool read_pci_function(const SYSFS_FOLDER &devices, const char *name, ORB_PCI_FUNCTION &function);

/// Reads the machine's pci.ids into `names`. Without it the numbers stand for the names, and there
/// is a complaint.
void read_pci_names(const std::string &root, const COMPLAINT &complain, PCI_NAMES &names);
