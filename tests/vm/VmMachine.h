#pragma once

#include <chrono>
#include <cstdint>
#include <string>
#include <vector>

#include <json/json.h>

#include "VmAgent.h"
#include "VmProcess.h"
#include "VmQmp.h"

/// Where a machine's parts lie.
struct VM_PLACES {
    std::string kernel; ///< file
    std::string image;  ///< initramfs, as scripts/vm_image.sh makes it
    std::string folder; ///< takes each machine's disk, console and emulator output
};

/// What a machine is made of. Cases that need the same one share a boot.
struct VM_SHAPE {
    std::string name = "machine";     ///< of its files in the folder
    std::string machineOptions;       ///< behind "q35", such as "smbios-entry-point-type=32"
    std::vector<std::string> devices; ///< further arguments of the emulator
    std::string kernelWords;          ///< further words of the kernel's command line
    unsigned memoryMiB = 1536;
    unsigned diskMiB = 64; ///< of /var, which outlives a reset

    bool operator==(const VM_SHAPE &) const = default;
};

/// How a machine is reached from outside.
struct VM_CHANNELS {
    std::uint16_t bmcPort = 0;    ///< of 127.0.0.1, where its management controller listens
    int agent = -1, monitor = -1; ///< descriptors that the emulator inherits; -1: none
    std::string console;          ///< file; empty: this terminal, with the emulator's own keys
};

/// A text as the value of an emulator's option, where a comma ends it.
std::string option_value(const std::string &text);

/// The emulator's command line.
std::vector<std::string> machine_command(const VM_PLACES &places, const VM_SHAPE &shape,
                                         const VM_CHANNELS &channels, const std::string &disk);

/// A text as one word of a shell line.
std::string shell_word(const std::string &text);

/// A virtual machine: a child process, its console in a file, a command channel into its system and
/// one to the emulator. Its /var is a disk that outlives a reset; all else is new with each boot.
/// What goes wrong is thrown as VmFailure. One thread.
class VmMachine {
public:
    using SECONDS = std::chrono::seconds;
    static constexpr SECONDS BOOT_LIMIT{90}, COMMAND_LIMIT{20}, POWER_LIMIT{60}, LINK_LIMIT{30};

    /// @param port  of the management controller, which listens already
    VmMachine(VM_PLACES where, VM_SHAPE what, std::uint16_t port)
        : places(std::move(where)), form(std::move(what)), bmcPort(port) {}

    /// Makes the disk and boots.
    void boot();
    const VM_SHAPE &shape() const { return form; }
    bool isUp() { return answers && emulator.isRunning(); } ///< booted and never lost since

    VM_OUTPUT run(const std::string &command, SECONDS limit = COMMAND_LIMIT);
    /// The output of a command that must succeed, without the newline at its end.
    std::string ask(const std::string &command, SECONDS limit = COMMAND_LIMIT);
    /// Waits in the machine until a shell condition holds. @return false: time is over
    bool waitFor(const std::string &condition, SECONDS limit);
    void write(const std::string &path, const std::string &content); ///< a file, whole

    void reboot();   ///< in order, as a person at the machine does; waits until it is up again
    void reset();    ///< as the reset button does; waits until it is up again
    void powerOff(); ///< in order; waits until the emulator has ended
    void end();      ///< at once

    /// Pulls the network adapter's cable or puts it in; waits until its driver has noticed.
    void setLink(bool up);
    /// Waits until the driver knows of a cable: it takes a while after a boot, too.
    void awaitLink(bool up);

    Json::Value monitor(const std::string &command, const Json::Value &arguments = {});

    /// The last lines of the console and what the emulator said.
    std::string lastWords() const;

private:
    std::string file(const char *what) const;
    [[noreturn]] void fail(const std::string &what);
    void makeDisk();
    void awaitBoot();

    VM_PLACES places;
    VM_SHAPE form;
    std::uint16_t bmcPort;
    VmProcess emulator;
    VmAgent agent;
    VmQmp qmp;
    bool answers = false;
};
