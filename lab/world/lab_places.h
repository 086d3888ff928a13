#pragma once

#include <string>

/// Where the lab's data lies.
struct LAB_PLACES {
    std::string scenarios; ///< *.json
    std::string schemas;   ///< *.schema.json
    std::string commands;  ///< the simulated server's host commands
    std::string vendor;    ///< vendor libraries
    std::string libexec;   ///< the Linux host commands
};

/// @param dataFolder  that of --data; empty: beside the executable where it is installed, else the
///                    build tree
LAB_PLACES find_lab_places(const std::string &dataFolder);

/// The same for a known executable, for instance "/opt/vantor/orb/bin/orblab".
LAB_PLACES find_lab_places_beside(const std::string &executable, const std::string &dataFolder);
