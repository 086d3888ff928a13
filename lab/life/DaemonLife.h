#pragma once

#include <signal.h>
#include <sys/types.h>

#include <atomic>
#include <cstdint>
#include <string>

#include "life/LabTime.h"

/// What one run of the daemon gets from the world.
struct LIFE_SETTINGS {
    std::string root;           ///< absolute; the simulated server's files
    bool realSysfs = false;     ///< this machine's /sys in place of that below the root
    std::string commandFolders; ///< put in front of PATH
    std::string hostFacts;      ///< folder with what the host commands print
    std::string vendorFolder;   ///< vendor libraries but the next
    std::string encoderFolder;  ///< location encoders
    std::string vendorWorld;    ///< file with what they are told
    std::string outputFile;     ///< takes standard output and standard error
    LabTime time;
    int controlSocket = -1;                          ///< the life's end
    bool answerFromMemory = false;                   ///< shell lines, see LabCommands
    std::atomic<std::uint64_t> *lineCount = nullptr; ///< shell lines that ran; in shared memory
    std::string countedStart;                        ///< what a counted line begins with
    sigset_t signalMask{};                           ///< the one that the daemon starts with
};

/// Forks a process that is the daemon behind the lab's doors, from its entry program to its end.
/// The caller must have no other thread.
/// @return the process id, -1 with errno where it could not be made
pid_t begin_life(const LIFE_SETTINGS &settings);
