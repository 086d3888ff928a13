#include "world/lab_command.h"

#include <string>

#include <gtest/gtest.h>

namespace {
using Kind = LAB_COMMAND::Kind;

LAB_COMMAND parsed(const std::string &line) {
    LAB_COMMAND command;
    std::string error;
    EXPECT_TRUE(parse_lab_command(line, command, error)) << line << ": " << error;
    return command;
}
std::string error_of(const std::string &line) {
    LAB_COMMAND command;
    std::string error;
    EXPECT_FALSE(parse_lab_command(line, command, error)) << line;
    return error;
}
} // namespace

TEST(LabCommand, Kinds) {
    EXPECT_EQ(parsed("").kind, Kind::NOTHING);
    EXPECT_EQ(parsed("   # note").kind, Kind::NOTHING);
    EXPECT_EQ(parsed("help").kind, Kind::HELP);
    EXPECT_EQ(parsed(" door-bell ").kind, Kind::DOOR_BELL);
    EXPECT_EQ(parsed("door-bell generic").kind, Kind::GENERIC_DOOR_BELL);
    EXPECT_EQ(parsed("restart daemon").kind, Kind::RESTART_DAEMON);
    EXPECT_EQ(parsed("crash daemon").kind, Kind::CRASH_DAEMON);
    EXPECT_EQ(parsed("reboot host").kind, Kind::REBOOT_HOST);
    EXPECT_EQ(parsed("crash host").kind, Kind::CRASH_HOST);
    EXPECT_EQ(parsed("quit").kind, Kind::QUIT);
    EXPECT_EQ(parsed("show events").subject, "events");
    EXPECT_EQ(parsed("reboot host").downSeconds, 30);
    EXPECT_EQ(parsed("crash host 77").downSeconds, 77);
}

TEST(LabCommand, Rmc) {
    const RMC_BEHAVIOUR all =
        parsed("rmc status 0x3 exit 4 completion 0xc0 delay 20 handle 65535 short 2 skip 5 times 6")
            .behaviour;
    EXPECT_EQ(all.force.transferStatus, 3);
    EXPECT_EQ(all.force.exitStatus, 4);
    EXPECT_EQ(all.force.completionCode, 0xC0);
    EXPECT_EQ(all.delayMs, 20);
    EXPECT_EQ(all.force.handle, 0xFFFF);
    EXPECT_EQ(all.force.shortTo, 2u);
    EXPECT_EQ(all.skip, 5u);
    EXPECT_EQ(all.times, 6);
    EXPECT_TRUE(parsed("rmc silent").behaviour.silent);
    EXPECT_TRUE(parsed("rmc normal").behaviour.isNormal());
    EXPECT_FALSE(parsed("rmc short 0").behaviour.isNormal());
}

TEST(LabCommand, Set) {
    EXPECT_EQ(parsed("set host name x").subject, "name");
    EXPECT_EQ(parsed("set name x").value, "x");
    EXPECT_EQ(parsed("set host address 192.0.2.1,192.0.2.2").value, "192.0.2.1,192.0.2.2");
    EXPECT_EQ(parsed("set host address none").value, "none");
    EXPECT_EQ(parsed("set esxtop garbled").value, "garbled");
    EXPECT_EQ(parsed("set ipmi off").value, "off");
}

TEST(LabCommand, Nic) {
    const LAB_COMMAND down = parsed("nic vmnic0 down");
    EXPECT_EQ(down.kind, Kind::NIC);
    EXPECT_EQ(down.subject, "vmnic0");
    EXPECT_EQ(down.value, "Down");
    EXPECT_EQ(parsed("nic vmnic0 up").value, "Up");
    EXPECT_EQ(parsed("nic vmnic0 unknown").value, "Unknown");
    EXPECT_EQ(parsed("nic vmnic0 remove").value, "remove");
    EXPECT_EQ(parsed("nic vmnic0 add").value, "add");
    EXPECT_EQ(parsed("set nics headless").value, "headless");
    EXPECT_EQ(parsed("set encoder refuses").value, "refuses");
    const std::string usage = "nic: say which and what, such as \"nic vmnic0 down\": up, down, "
                              "unknown, remove, add";
    for (const char *line : {"nic", "nic vmnic0", "nic vmnic0 Down", "nic vmnic0 up now"})
        EXPECT_EQ(error_of(line), usage) << line;
}

TEST(LabCommand, Errors) {
    EXPECT_EQ(error_of("dance"), "dance: unknown command, try help");
    EXPECT_EQ(error_of("quit now"), "quit now: unknown command, try help");
    EXPECT_EQ(error_of("restart host"), "restart host: unknown command, try help");
    EXPECT_EQ(error_of("reboot daemon"), "reboot daemon: unknown command, try help");
    EXPECT_EQ(error_of("show me"), "show me: unknown command, try help");
    EXPECT_EQ(error_of(std::string(4000, 'x')),
              std::string(60, 'x') + "...: unknown command, try help");
    EXPECT_EQ(error_of("reboot host 1"), "reboot host: needs seconds, 2 or more");
    EXPECT_EQ(error_of("crash host -5"), "crash host: needs seconds, 2 or more");
    EXPECT_EQ(error_of("rmc"),
              "rmc: status, exit, completion, delay, handle, short, silent or normal is missing");
    EXPECT_EQ(error_of("rmc status"), "rmc: status needs a number from 0 to 255");
    EXPECT_EQ(error_of("rmc status 256"), "rmc: status needs a number from 0 to 255");
    EXPECT_EQ(error_of("rmc status 0x"), "rmc: status needs a number from 0 to 255");
    EXPECT_EQ(error_of("rmc handle 65536"), "rmc: handle needs a number from 0 to 65535");
    EXPECT_EQ(error_of("rmc loud"), "rmc: unknown word \"loud\"");
    EXPECT_EQ(error_of("set name"),
              "set: say what and to what, such as \"set host name orb-lab-02\"");
    EXPECT_EQ(error_of("set memory much"), "set: memory needs MBytes");
    EXPECT_EQ(error_of("set address 1.2.3"), "set: \"1.2.3\" is no IPv4 address");
    EXPECT_EQ(error_of("set esxtop odd"), "set: esxtop must be works, fails, empty or garbled");
    EXPECT_EQ(error_of("set nics odd"), "set: nics must be works, fails, empty, headless, cut, "
                                        "short, blank, old, binary, huge or hangs");
    EXPECT_EQ(error_of("set encoder odd"),
              "set: encoder must be works, refuses, missing or incomplete");
    EXPECT_EQ(error_of("set ipmi maybe"), "set: ipmi must be on or off");
    EXPECT_EQ(error_of("nic " + std::string(16, 'x') + " up"),
              "nic: a name has at most 15 characters");
    EXPECT_EQ(error_of("set colour red"), "set: unknown fact \"colour\"");
    EXPECT_EQ(error_of("set name " + std::string(65, 'x')),
              "set: name is longer than 64 characters");
}

TEST(LabCommand, FibreChannelAdaptersAndCalls) {
    LAB_COMMAND command = parsed("fc vmhba3 linkdown");
    EXPECT_EQ(command.kind, Kind::FC);
    EXPECT_EQ(command.subject, "vmhba3");
    EXPECT_EQ(command.detail, "");
    EXPECT_EQ(command.value, "linkdown");
    command = parsed("fc 20:00:02:00:5e:00:00:a1 0x01 offline");
    EXPECT_EQ(command.subject, "20:00:02:00:5e:00:00:a1");
    EXPECT_EQ(command.detail, "1");
    for (const char *state : {"online", "offline", "bypassed", "diagnostics", "linkdown", "error",
                              "loopback", "unknown", "remove", "add"})
        EXPECT_EQ(parsed(std::string("fc vmhba3 ") + state).value, state);
    const std::string usage =
        "fc: say which and what, such as \"fc vmhba3 linkdown\" or \"fc vmhba3 1 offline\": "
        "online, offline, bypassed, diagnostics, linkdown, error, loopback, unknown, remove, add";
    for (const char *line : {"fc", "fc vmhba3", "fc vmhba3 up", "fc vmhba3 256 online",
                             "fc vmhba3 x online", "fc vmhba3 0 remove", "fc vmhba3 0 1 online"})
        EXPECT_EQ(error_of(line), usage) << line;
    EXPECT_EQ(error_of("fc " + std::string(24, 'x') + " online"),
              "fc: a name has at most 23 characters");

    command = parsed("hba all OpenAdapter fails");
    EXPECT_EQ(command.kind, Kind::HBA);
    EXPECT_EQ(command.subject, "all");
    EXPECT_EQ(command.detail, "OpenAdapter");
    EXPECT_EQ(command.value, "fails");
    EXPECT_EQ(parsed("hba libexamplelight.so RegisterLibrary works").value, "works");
    EXPECT_EQ(error_of("hba all OpenAdapters fails"),
              "hba: \"OpenAdapters\" is no call of a library");
    for (const char *line : {"hba", "hba all OpenAdapter", "hba all OpenAdapter sometimes"})
        EXPECT_EQ(error_of(line), "hba: say a library or all, a call and works or fails, such as "
                                  "\"hba all OpenAdapter fails\"")
            << line;
    EXPECT_EQ(parsed("show hba").subject, "hba");
}

TEST(LabCommand, StorageControllersAndTheirHosts) {
    LAB_COMMAND command = parsed("storage vmhba1 offline");
    EXPECT_EQ(command.kind, Kind::STORAGE);
    EXPECT_EQ(command.subject, "vmhba1");
    EXPECT_EQ(command.detail, "");
    EXPECT_EQ(command.value, "offline");
    command = parsed("storage 0000:51:00.0 0x01 remove");
    EXPECT_EQ(command.subject, "0000:51:00.0");
    EXPECT_EQ(command.detail, "1");
    EXPECT_EQ(command.value, "remove");
    EXPECT_EQ(parsed("storage vmhba1 host12 add").detail, "host12");
    for (const char *state :
         {"created", "running", "cancel", "deleted", "recovery", "cancel/recovery",
          "deleted/recovery", "quiesce", "offline", "transport-offline", "blocked",
          "created-blocked", "online", "optimal", "unreadable", "remove", "add"})
        EXPECT_EQ(parsed(std::string("storage vmhba1 0 ") + state).value, state);
    const std::string usage =
        "storage: say which and what, such as \"storage vmhba1 offline\" or \"storage vmhba1 0 "
        "remove\": created, running, cancel, deleted, recovery, cancel/recovery, "
        "deleted/recovery, quiesce, offline, transport-offline, blocked, created-blocked, online, "
        "optimal or unreadable; remove, add, reset";
    for (const char *line :
         {"storage", "storage vmhba1", "storage vmhba1 up", "storage vmhba1 host offline",
          "storage vmhba1 x offline", "storage vmhba1 100000 offline", "storage vmhba1 0 reset",
          "storage vmhba1 0 1 offline", "storage vmhba1 reset 1 2"})
        EXPECT_EQ(error_of(line), usage) << line;
    EXPECT_EQ(error_of("storage " + std::string(16, 'x') + " offline"),
              "storage: a name has at most 15 characters");
}

TEST(LabCommand, ResetOfAControllerTakesItsTime) {
    EXPECT_EQ(parsed("storage vmhba1 reset").value, "reset");
    EXPECT_EQ(parsed("storage vmhba1 reset").downSeconds, 30);
    EXPECT_EQ(parsed("storage vmhba1 reset 1").downSeconds, 1);
    for (const char *line :
         {"storage vmhba1 reset 0", "storage vmhba1 reset soon", "storage vmhba1 reset 1000000001"})
        EXPECT_EQ(error_of(line), "storage: reset needs seconds, 1 or more") << line;
}

TEST(LabCommand, HelpNamesEachVerb) {
    const std::string help = lab_command_help(true);
    for (const char *verb :
         {"door-bell", "rmc", "restart daemon", "crash daemon", "reboot host", "crash host",
          "nic NAME", "fc NAME", "hba LIBRARY", "storage NAME", "show hba", "set", "show", "quit"})
        EXPECT_NE(help.find(verb), std::string::npos) << verb;
}

TEST(LabCommand, HelpOnTheRmcAloneNamesNothingOfTheServer) {
    const std::string help = lab_command_help(false);
    for (const char *verb : {"door-bell", "rmc", "show", "help", "quit"})
        EXPECT_NE(help.find(verb), std::string::npos) << verb;
    for (const char *verb : {"daemon", "host", "set ", "fc ", "hba", "storage"})
        EXPECT_EQ(help.find(verb), std::string::npos) << verb;
}

TEST(LabCommand, KnowsWhatIsAboutTheServer) {
    const auto isAboutServer = [](const std::string &line) {
        LAB_COMMAND command;
        std::string error;
        EXPECT_TRUE(parse_lab_command(line, command, error)) << error;
        return is_about_server(command);
    };
    for (const char *line : {"restart daemon", "crash daemon", "reboot host", "crash host 2",
                             "set host name x", "set ipmi off", "nic vmnic0 up", "fc vmhba3 online",
                             "hba all OpenAdapter works", "storage vmhba1 reset", "show hba"})
        EXPECT_TRUE(isAboutServer(line)) << line;
    for (const char *line : {"", "# set", "door-bell", "door-bell generic", "rmc silent",
                             "show events", "help", "quit"})
        EXPECT_FALSE(isAboutServer(line)) << line;
}
