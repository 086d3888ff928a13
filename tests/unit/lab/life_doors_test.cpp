#include <arpa/inet.h>
#include <fcntl.h>
#include <linux/ipmi.h>
#include <netinet/in.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstddef>
#include <optional>
#include <string>

#include <gtest/gtest.h>

#include "fakes/TemporaryRoot.h"
#include "hostaccess/orbHostFiles.h"
#include "life/LabCommands.h"
#include "life/LabDevices.h"
#include "life/LabFiles.h"
#include "life/LabIdentity.h"
#include "life/wire.h"
#include "world/host_facts.h"

namespace {
std::string below(const std::string &path) {
    return IorbHostFiles::get().map(path);
}

struct LineCase {
    const char *name, *line, *command, *file;
    bool append;
};
const LineCase LINES[] = {
    {"Plain", "localcli system version get", "localcli system version get", "", false},
    {"Pipe", "a b | grep -i Product", "a b | grep -i Product", "", false},
    {"Into", "localcli hardware pci list > /opt/x.txt", "localcli hardware pci list", "/opt/x.txt",
     false},
    {"Append", "esxtop -c /a -b -n 1 >> /b", "esxtop -c /a -b -n 1", "/b", true},
    {"Quoted", "esxtop -c '/it'\\''s a/c' -b -n 1 >> '/it'\\''s a/b'",
     "esxtop -c '/it'\\''s a/c' -b -n 1", "/it's a/b", true},
    {"SignInQuotes", "echo 'a > b' \"c > d\"", "echo 'a > b' \"c > d\"", "", false},
    {"NothingBehind", "a >", "a >", "", false},
};
void PrintTo(const LineCase &row, std::ostream *os) {
    *os << row.name;
}
class ShellLines : public ::testing::TestWithParam<LineCase> {};
TEST_P(ShellLines, AreSplit) {
    const REDIRECTED_LINE split = split_redirection(GetParam().line);
    EXPECT_EQ(split.command, GetParam().command);
    EXPECT_EQ(split.file, GetParam().file);
    EXPECT_EQ(split.append, GetParam().append);
}
INSTANTIATE_TEST_SUITE_P(Rows, ShellLines, ::testing::ValuesIn(LINES),
                         [](const auto &row) { return std::string(row.param.name); });

/// The record of one receive call, with room for an answer of N bytes.
template <std::size_t N> struct Reception {
    Reception() {
        record.addr = reinterpret_cast<unsigned char *>(&from);
        record.addr_len = sizeof from;
        record.msg = {0, 0, sizeof room, room};
    }
    Reception(const Reception &) = delete;
    Reception &operator=(const Reception &) = delete;

    unsigned char room[N] = {};
    ipmi_addr from{};
    ipmi_recv record{};
};

/// The world's end of an opened device.
class Device {
public:
    explicit Device(TemporaryRoot &root) {
        EXPECT_TRUE(make_wire(control));
        root.write("/dev/ipmi0", "");
        devices.emplace(below(""), control[0]);
        fd = static_cast<int>(devices->open("/dev/ipmi0", O_RDWR).rc);
        EXPECT_GE(fd, 0);
        far = receive_descriptor(control[1]);
        EXPECT_GE(far, 0);
    }
    ~Device() {
        for (const int each : {fd, far, control[0], control[1]})
            if (each >= 0) ::close(each);
    }
    std::optional<LabDevices> devices;
    int control[2] = {-1, -1}, fd = -1, far = -1;
};
} // namespace

TEST(LabCommands, LinesThatChangeTheMachineNeverRun) {
    TemporaryRoot root;
    LabCommands commands(false);
    const std::string trace = below("/trace");
    for (const std::string &line : {"modprobe ipmi_si; touch " + trace,
                                    "mknod -m 0600 /dev/ipmi0 c `touch " + trace + "` 0"}) {
        EXPECT_TRUE(LabCommands::changesTheMachine(line));
        EXPECT_EQ(commands.system(line).status, 0);
        int err = 0;
        EXPECT_EQ(commands.popen(line, &err), nullptr);
        EXPECT_EQ(err, EPERM);
    }
    EXPECT_FALSE(root.exists("/trace"));
    EXPECT_FALSE(LabCommands::changesTheMachine("esxtop -c modprobe"));
}

TEST(LabCommands, MemoryAnswersWhatTheShellAnsweredOnce) {
    TemporaryRoot root;
    root.write("/source", "first\n");
    std::atomic<std::uint64_t> lines{0};
    LabCommands commands(true, &lines);
    const std::string read = "cat " + below("/source"), file = below("/it's here");
    const std::string append = read + " >> " + shell_path("/it's here");
    EXPECT_EQ(commands.system(append).status, 0);
    root.write("/source", "second\n");
    EXPECT_EQ(commands.system(append).status, 0);
    EXPECT_EQ(root.read("/it's here"), "first\nfirst\n");

    int err = -1;
    std::FILE *stream = commands.popen(read, &err);
    ASSERT_NE(stream, nullptr);
    EXPECT_EQ(err, 0);
    char text[100] = {};
    EXPECT_NE(std::fgets(text, sizeof text, stream), nullptr);
    EXPECT_STREQ(text, "first\n");
    EXPECT_EQ(commands.pclose(stream), 0);
    EXPECT_EQ(lines.load(), 3u);
}

TEST(LabCommands, MemoryTellsApartWhatAFileWasWrittenFrom) {
    TemporaryRoot root;
    LabCommands commands(true);
    const std::string file = shell_path("/it's here");
    const auto answer = [&](const std::string &line) {
        int err = 0;
        std::FILE *stream = commands.popen(line, &err);
        char text[100] = {};
        EXPECT_NE(stream, nullptr);
        if (stream == nullptr) return std::string();
        const bool any = std::fgets(text, sizeof text, stream) != nullptr;
        commands.pclose(stream);
        return any ? std::string(text) : std::string();
    };
    for (int round = 0; round < 3; ++round)
        for (const char *word : {"one", "two"}) {
            EXPECT_EQ(commands.system(std::string("echo ") + word + " >> " + file).status, 0);
            EXPECT_EQ(answer("grep -h . " + file), std::string(word) + "\n");
            ASSERT_EQ(std::remove(below("/it's here").c_str()), 0);
        }
}

TEST(LabCommands, CountsTheLinesThatBeginSo) {
    std::atomic<std::uint64_t> lines{0};
    LabCommands commands(false, &lines, "true ");
    commands.system("true 1");
    commands.system("false");
    commands.system("echo true >/dev/null");
    commands.system("true 2");
    EXPECT_EQ(lines.load(), 2u);
}

TEST(LabCommands, MemoryKeepsTheStatus) {
    TemporaryRoot root;
    LabCommands commands(true);
    EXPECT_EQ(WEXITSTATUS(commands.system("exit 3").status), 3);
    EXPECT_NE(commands.system("echo x > /nowhere/file").status, 0);
    int err = 0;
    std::FILE *stream = commands.popen("exit 4", &err);
    ASSERT_NE(stream, nullptr);
    EXPECT_EQ(WEXITSTATUS(commands.pclose(stream)), 4);
}

TEST(LabDevices, OnlyTheIpmiDeviceIsThere) {
    TemporaryRoot root;
    LabDevices devices(below(""), -1);
    EXPECT_EQ(devices.open("/dev/ipmi0", O_RDWR).err, ENOENT);
    root.write("/dev/sg0", "");
    EXPECT_EQ(devices.open("/dev/sg0", O_RDWR).err, ENOENT);
}

TEST(LabDevices, CarriesARequestAndItsAnswer) {
    TemporaryRoot root;
    Device device(root);
    ipmi_system_interface_addr address{};
    address.addr_type = IPMI_SYSTEM_INTERFACE_ADDR_TYPE;
    address.channel = IPMI_BMC_CHANNEL;
    unsigned char data[60] = {1, 2, 3};
    ipmi_req request{};
    request.addr = reinterpret_cast<unsigned char *>(&address);
    request.addr_len = sizeof address;
    request.msg = {0x3A, 0x80, sizeof data, data};
    ASSERT_EQ(device.devices->ioctl(device.fd, IPMICTL_SEND_COMMAND, &request).rc, 0);

    WIRE_REQUEST packet{};
    ASSERT_EQ(::recv(device.far, &packet, sizeof packet, MSG_DONTWAIT), ssize_t{sizeof packet});
    EXPECT_EQ(packet.netfn, 0x3A);
    EXPECT_EQ(packet.cmd, 0x80);
    EXPECT_EQ(packet.dataLength, 60);
    EXPECT_EQ(packet.data[2], 3);
    EXPECT_EQ(packet.addressType, 0x0C);
    EXPECT_EQ(packet.channel, 0x0F);

    WIRE_ANSWER answer{};
    answer.length = 5;
    answer.data[1] = 7;
    ASSERT_EQ(::send(device.far, &answer, sizeof answer, 0), ssize_t{sizeof answer});
    EXPECT_EQ(device.devices->waitReadable(device.fd).rc, 1);
    Reception<272> reception;
    ASSERT_EQ(device.devices->ioctl(device.fd, IPMICTL_RECEIVE_MSG_TRUNC, &reception.record).rc, 0);
    EXPECT_EQ(reception.record.msg.data_len, 5);
    EXPECT_EQ(reception.room[1], 7);
    EXPECT_EQ(device.devices->ioctl(device.fd, IPMICTL_RECEIVE_MSG_TRUNC, &reception.record).err,
              EAGAIN);
}

TEST(LabDevices, AnswerThatDoesNotFitIsCut) {
    TemporaryRoot root;
    Device device(root);
    WIRE_ANSWER answer{};
    answer.length = 20;
    ASSERT_EQ(::send(device.far, &answer, sizeof answer, 0), ssize_t{sizeof answer});
    Reception<4> reception;
    EXPECT_EQ(device.devices->ioctl(device.fd, IPMICTL_RECEIVE_MSG_TRUNC, &reception.record).err,
              EMSGSIZE);
    EXPECT_EQ(reception.record.msg.data_len, 4);
}

TEST(LabDevices, WireThatIsCutFailsTheWait) {
    TemporaryRoot root;
    Device device(root);
    ::close(device.far);
    device.far = -1;
    device.devices->waitReadable(device.fd);
    Reception<4> reception;
    EXPECT_EQ(device.devices->ioctl(device.fd, IPMICTL_RECEIVE_MSG_TRUNC, &reception.record).rc,
              -1);
    EXPECT_EQ(device.devices->ioctl(device.fd, 0x1234, nullptr).err, ENOTTY);
}

TEST(LabIdentity, FollowsItsFile) {
    TemporaryRoot root;
    SCENARIO_HOST host;
    host.name = "one";
    host.kernelName = "VMkernel";
    host.addresses = {{"vmk0", "192.0.2.1"}, {"vmk1", "192.0.2.2"}};
    const LabTime time(monotonic_ns(), 2'000'000'000'000'000'000, 0.1);
    root.write("/identity.json", identity_text(host, 1'999'999'000, false));
    LabIdentity identity(below("/identity.json"), time);

    utsname names{};
    ASSERT_EQ(identity.uname(&names).rc, 0);
    EXPECT_STREQ(names.nodename, "one");
    EXPECT_STREQ(names.sysname, "VMkernel");
    struct sysinfo info {};
    ASSERT_EQ(identity.sysinfo(&info).rc, 0);
    EXPECT_EQ(info.uptime, 1000);

    ifaddrs *list = nullptr;
    ASSERT_EQ(identity.getifaddrs(&list).rc, 0);
    ASSERT_NE(list, nullptr);
    EXPECT_STREQ(list->ifa_name, "vmk0");
    ASSERT_NE(list->ifa_next, nullptr);
    char text[INET_ADDRSTRLEN] = {};
    ::inet_ntop(AF_INET, &reinterpret_cast<sockaddr_in *>(list->ifa_next->ifa_addr)->sin_addr, text,
                sizeof text);
    EXPECT_STREQ(text, "192.0.2.2");
    EXPECT_EQ(list->ifa_next->ifa_next, nullptr);
    identity.freeifaddrs(list);

    host.name = std::string(100, 'n');
    root.write("/identity.json", identity_text(host, 0, false));
    ASSERT_EQ(identity.uname(&names).rc, 0);
    EXPECT_EQ(std::string(names.nodename), std::string(64, 'n')) << "cut to what the record holds";
}

TEST(LabIdentity, WithoutItsFileNothingIsKnown) {
    TemporaryRoot root;
    LabIdentity identity(below("/identity.json"), LabTime::startingNow(1));
    utsname names{};
    EXPECT_EQ(identity.uname(&names).rc, -1);
    ifaddrs *list = nullptr;
    EXPECT_EQ(identity.getifaddrs(&list).rc, -1);
}

TEST(LabSyslog, WritesALine) {
    TemporaryRoot root;
    LabSyslog log(below("/syslog"));
    log.write("orb", 8, 3, "a text");
    log.write("orb", 8, 4, "another");
    EXPECT_EQ(root.read("/syslog"), "orb <3> a text\norb <4> another\n");
}

TEST(LabLibraries, LookNowhereButInTheirFolder) {
    TemporaryRoot root;
    LabLibraries libraries(below("/vendor"));
    EXPECT_EQ(libraries.open("libc.so.6", 1), nullptr);
    EXPECT_NE(std::string(libraries.error()).find(below("/vendor")), std::string::npos);
}

TEST(LabLibraries, EncodersHaveAFolderOfTheirOwn) {
    LabLibraries libraries(ORB_BINARY_DIR "/lab/vendor", ORB_BINARY_DIR "/lab/vendor/missing");
    EXPECT_EQ(libraries.open("libgeoenc02.so", 1), nullptr);
    void *const adapters = libraries.open("/usr/lib64/libexamplefabric.so", 1);
    ASSERT_NE(adapters, nullptr) << libraries.error();
    EXPECT_EQ(libraries.close(adapters), 0);
    EXPECT_EQ(libraries.open("/usr/lib64/.", 1), nullptr) << "a folder";
}

TEST(LabFiles, SysfsAloneMayBeThisMachines) {
    LabFiles simulated("/r"), real("/r", true);
    EXPECT_EQ(simulated.map("/sys/class/scsi_host"), "/r/sys/class/scsi_host");
    EXPECT_EQ(real.map("/sys/class/scsi_host"), "/sys/class/scsi_host");
    EXPECT_EQ(real.map("/sysfs"), "/r/sysfs");
    EXPECT_EQ(real.map("/var/tmp/x"), "/r/var/tmp/x");
}
