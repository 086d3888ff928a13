#include <getopt.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <iostream>
#include <string>

#include <gtest/gtest.h>

#include "VmSmbios.h"
#include "VmTest.h"

namespace {
constexpr char USAGE[] =
    "usage: vm_test --kernel FILE --image FILE --folder DIR [GTEST-OPTION...]\n"
    "       vm_test --kernel FILE --image FILE --folder DIR --command PORT\n"
    "       vm_test --gtest_list_tests\n"
    "--command prints the emulator's command line, a word each ended by NUL, for a machine with "
    "its\n"
    "console on the terminal, its controller on 127.0.0.1:PORT and its disk in DIR/disk.img.\n";

/// One line for each case with its time; what failed goes to standard error where it happens.
class CaseLines final : public ::testing::EmptyTestEventListener {
    void OnTestPartResult(const ::testing::TestPartResult &part) override {
        if (!part.failed()) return;
        std::cerr << (part.file_name() == nullptr ? "vm_test" : part.file_name()) << ":"
                  << part.line_number() << ": " << part.message() << std::endl;
    }
    void OnTestEnd(const ::testing::TestInfo &test) override {
        const bool good = test.result()->Passed();
        std::printf("%-6s %6.1f s  %s.%s\n", good ? "ok" : "FAILED",
                    static_cast<double>(test.result()->elapsed_time()) / 1000,
                    test.test_suite_name(), test.name());
        std::fflush(stdout);
    }
};

class World final : public ::testing::Environment {
    void TearDown() override { VmWorld::get().end(); }
};

int print_command(const VM_PLACES &places, const char *port) {
    VM_SHAPE shape = smbios_shape("first-generation", 64, places.folder);
    shape.kernelWords = "orb.shell";
    const VM_CHANNELS channels{static_cast<std::uint16_t>(std::atoi(port)), -1, -1, ""};
    for (const std::string &word :
         machine_command(places, shape, channels, places.folder + "/disk.img"))
        std::fwrite(word.c_str(), 1, word.size() + 1, stdout);
    return std::fflush(stdout) == 0 ? 0 : 1;
}
} // namespace

int main(int argc, char **argv) {
    ::testing::InitGoogleTest(&argc, argv); // takes its own options out
    const option options[] = {{"kernel", required_argument, nullptr, 'k'},
                              {"image", required_argument, nullptr, 'i'},
                              {"folder", required_argument, nullptr, 'f'},
                              {"command", required_argument, nullptr, 'c'},
                              {}};
    VM_PLACES places;
    const char *port = nullptr;
    for (int letter; (letter = ::getopt_long(argc, argv, "", options, nullptr)) != -1;) {
        switch (letter) {
        case 'k':
            places.kernel = optarg;
            break;
        case 'i':
            places.image = optarg;
            break;
        case 'f':
            places.folder = optarg;
            break;
        case 'c':
            port = optarg;
            break;
        default:
            std::fputs(USAGE, stderr);
            return 2;
        }
    }
    if (::testing::GTEST_FLAG(list_tests)) return RUN_ALL_TESTS();
    if (optind < argc || places.kernel.empty() || places.image.empty() || places.folder.empty()) {
        std::fputs(USAGE, stderr);
        return 2;
    }
    if (port != nullptr) return print_command(places, port);

    VmWorld::configure(places);
    ::testing::TestEventListeners &listeners = ::testing::UnitTest::GetInstance()->listeners();
    delete listeners.Release(listeners.default_result_printer());
    listeners.Append(new CaseLines);                // gtest's from now on
    ::testing::AddGlobalTestEnvironment(new World); // likewise
    return RUN_ALL_TESTS();
}
