#pragma once

/// The host's PCI devices as `localcli hardware pci list` prints them: written once at start,
/// before any manager runs, removed at the end. Without it, or with an empty one, look-ups find
/// nothing. A host path, for IorbHostFiles::map() and shell_path().
constexpr char HARDWARE_LIST[] = "/opt/vantor/orb/data/orb_hwlist.txt";
