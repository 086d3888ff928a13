#include "VmMachine.h"

#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <fstream>
#include <sstream>
#include <utility>

#include "VmFailure.h"

namespace {
constexpr std::size_t LAST_LINES = 40;

std::string last_lines(const std::string &path) {
    std::ifstream in(path, std::ios::binary);
    std::vector<std::string> lines;
    for (std::string line; std::getline(in, line);) {
        lines.push_back(line);
        if (lines.size() > LAST_LINES) lines.erase(lines.begin());
    }
    std::string text;
    for (const std::string &line : lines) text += "  | " + line + "\n";
    return text;
}

/// One end here, closed with commands; the other for the emulator.
struct SOCKET_PAIR {
    int here = -1, there = -1;

    SOCKET_PAIR() {
        int ends[2];
        if (::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends) != 0)
            throw VmFailure(std::string("socketpair: ") + std::strerror(errno));
        here = ends[0];
        there = ends[1];
    }
    ~SOCKET_PAIR() {
        if (here >= 0) ::close(here);
        if (there >= 0) ::close(there);
    }
    SOCKET_PAIR(const SOCKET_PAIR &) = delete;
    SOCKET_PAIR &operator=(const SOCKET_PAIR &) = delete;
    int takeHere() { return std::exchange(here, -1); }
};
} // namespace

std::string option_value(const std::string &text) {
    std::string all;
    for (const char c : text) all += c == ',' ? std::string(",,") : std::string(1, c);
    return all;
}

std::vector<std::string> machine_command(const VM_PLACES &places, const VM_SHAPE &shape,
                                         const VM_CHANNELS &channels, const std::string &disk) {
    std::string words = "console=ttyS0 quiet";
    if (!shape.kernelWords.empty()) words += " " + shape.kernelWords;
    std::vector<std::string> all = {
        "qemu-system-x86_64", "-accel", "tcg", "-machine",
        "q35" + (shape.machineOptions.empty() ? "" : "," + shape.machineOptions), "-smp", "2", "-m",
        std::to_string(shape.memoryMiB), "-nodefaults", "-no-user-config", "-display", "none",
        "-kernel", places.kernel, "-initrd", places.image, "-append", words,
        // The management controller. Without the reconnection the emulator breaks down when the
        // controller's line is there before the interface.
        "-chardev",
        "socket,id=bmcline,host=127.0.0.1,port=" + std::to_string(channels.bmcPort) +
            ",reconnect=1",
        "-device", "ipmi-bmc-extern,id=bmc0,chardev=bmcline", "-device",
        "isa-ipmi-kcs,bmc=bmc0,irq=5", "-drive",
        "if=none,id=var,format=raw,cache=unsafe,file=" + option_value(disk), "-device",
        "virtio-blk-pci,drive=var",
        // A network adapter whose cable ends in a hub that leads nowhere.
        "-netdev", "hubport,id=net0,hubid=0", "-device",
        "e1000,id=nic0,netdev=net0,mac=52:54:00:00:02:11,romfile="};
    const auto add = [&](std::initializer_list<std::string> more) { all.insert(all.end(), more); };
    if (channels.console.empty())
        add({"-chardev", "stdio,id=console,mux=on,signal=off", "-mon",
             "chardev=console,mode=readline"});
    else
        add({"-chardev", "file,id=console,append=on,path=" + option_value(channels.console)});
    add({"-serial", "chardev:console"});
    if (channels.agent >= 0)
        add({"-chardev", "socket,id=agent,fd=" + std::to_string(channels.agent), "-device",
             "virtio-serial-pci", "-device", "virtserialport,chardev=agent,name=org.orb.agent"});
    if (channels.monitor >= 0)
        add({"-chardev", "socket,id=monitor,fd=" + std::to_string(channels.monitor), "-mon",
             "chardev=monitor,mode=control"});
    all.insert(all.end(), shape.devices.begin(), shape.devices.end());
    return all;
}

std::string shell_word(const std::string &text) {
    std::string word = "'";
    for (const char c : text) word += c == '\'' ? std::string("'\\''") : std::string(1, c);
    return word + "'";
}

void VmMachine::boot() {
    end();
    makeDisk();
    SOCKET_PAIR agentLine, monitorLine;
    std::string error;
    const VM_CHANNELS channels{bmcPort, agentLine.there, monitorLine.there, file("console.log")};
    if (!emulator.start(machine_command(places, form, channels, file("disk.img")),
                        file("emulator.log"), {agentLine.there, monitorLine.there}, error))
        fail(error);
    agent.use(agentLine.takeHere());
    qmp.use(monitorLine.takeHere());
    // The emulator alone holds the other ends, so that its end is seen here.
    ::close(std::exchange(agentLine.there, -1));
    ::close(std::exchange(monitorLine.there, -1));
    if (!qmp.greet(error)) fail("the emulator does not answer: " + error);
    awaitBoot();
}

VM_OUTPUT VmMachine::run(const std::string &command, SECONDS limit) {
    VM_OUTPUT output;
    std::string error;
    if (!agent.run(command, limit, output, error)) fail(command + ": " + error);
    return output;
}

std::string VmMachine::ask(const std::string &command, SECONDS limit) {
    VM_OUTPUT output = run(command, limit);
    if (output.status != 0)
        throw VmFailure(command + ": ends with status " + std::to_string(output.status) + ": " +
                        output.text);
    if (!output.text.empty() && output.text.back() == '\n') output.text.pop_back();
    return output.text;
}

bool VmMachine::waitFor(const std::string &condition, SECONDS limit) {
    const std::string seconds = std::to_string(limit.count());
    // The machine's own clock counts: it alone tells how far the machine has come.
    const VM_OUTPUT output = run("now() { cut -d. -f1 /proc/uptime; }\nend=$(($(now) + " + seconds +
                                     "))\n" + "until { " + condition + "\n} >/dev/null 2>&1; do\n" +
                                     "[ \"$(now)\" -lt \"$end\" ] || exit 1\nusleep 100000\ndone",
                                 limit + COMMAND_LIMIT);
    return output.status == 0;
}

void VmMachine::write(const std::string &path, const std::string &content) {
    ask("printf %s " + shell_word(content) + " >" + shell_word(path));
}

void VmMachine::reboot() {
    std::string error;
    if (!agent.post("reboot", error)) fail(error);
    awaitBoot();
}

void VmMachine::reset() {
    answers = false;
    monitor("system_reset");
    awaitBoot();
}

void VmMachine::powerOff() {
    std::string error;
    if (!agent.post("poweroff", error)) fail(error);
    answers = false;
    if (!emulator.wait(POWER_LIMIT)) fail("the machine does not go off");
}

void VmMachine::end() {
    answers = false;
    emulator.kill();
    agent.use(-1);
    qmp.use(-1);
}

void VmMachine::setLink(bool up) {
    Json::Value arguments;
    arguments["name"] = "nic0";
    arguments["up"] = up;
    (void)monitor("set_link", arguments); // an empty object, or a failure that is thrown
    awaitLink(up);
}

void VmMachine::awaitLink(bool up) {
    if (!waitFor(std::string("[ \"$(cat /sys/class/net/eth0/carrier)\" = ") + (up ? "1 ]" : "0 ]"),
                 LINK_LIMIT))
        throw VmFailure(std::string("the adapter's link does not ") + (up ? "come" : "go"));
}

Json::Value VmMachine::monitor(const std::string &command, const Json::Value &arguments) {
    Json::Value answer;
    std::string error;
    if (!qmp.execute(command, arguments, answer, error)) fail(error);
    return answer;
}

std::string VmMachine::lastWords() const {
    return "the console of " + form.name + ":\n" + last_lines(file("console.log")) +
           "the emulator:\n" + last_lines(file("emulator.log"));
}

std::string VmMachine::file(const char *what) const {
    return places.folder + "/" + form.name + "." + what;
}

void VmMachine::fail(const std::string &what) {
    answers = false;
    throw VmFailure(what + "\n" + lastWords());
}

void VmMachine::makeDisk() {
    const std::string disk = file("disk.img");
    std::ofstream(disk, std::ios::trunc).close();
    if (::truncate(disk.c_str(), static_cast<off_t>(form.diskMiB) << 20) != 0)
        fail(disk + ": " + std::strerror(errno));
    VmProcess maker;
    std::string error;
    if (!maker.start({"mke2fs", "-q", "-F", "-t", "ext4", disk}, file("mke2fs.log"), {}, error))
        fail(error);
    if (maker.wait(COMMAND_LIMIT) != 0)
        fail("mke2fs could not make " + disk + "\n" + last_lines(file("mke2fs.log")));
    // Each boot of this machine appends to its console.
    std::ofstream(file("console.log"), std::ios::trunc).close();
}

void VmMachine::awaitBoot() {
    answers = false;
    std::string error;
    if (!agent.awaitBoot(BOOT_LIMIT, error)) fail("the machine does not boot: " + error);
    answers = true;
}
