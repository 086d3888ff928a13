// Processor time and memory of a daemon that has nothing to do, with the settings and the log of a
// host without a configuration file. Prints figures beside what is aimed at; judges nothing.
#include <sys/mman.h>
#include <time.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <new>
#include <optional>
#include <string>

#include "world/World.h"

namespace {
constexpr double IDLE_SECONDS = 600, IDLE_SPEED = 100, SETTLED_AT = 120;
constexpr double MONTH_SPEED = 100'000;
constexpr std::uint64_t MONTH_BUILDS = 43'200;
constexpr std::size_t MONTH_SENDS = 30;

struct MEMORY {
    double residentKiB = 0, codeKiB = 0; ///< `codeKiB` is this program's own file
};

double cpu_seconds(pid_t process) {
    clockid_t clock = 0;
    timespec time{};
    if (::clock_getcpuclockid(process, &clock) != 0 || ::clock_gettime(clock, &time) != 0) return 0;
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) / 1e9;
}

MEMORY memory_of(pid_t process) {
    const std::string program = std::filesystem::read_symlink("/proc/self/exe");
    std::ifstream maps("/proc/" + std::to_string(process) + "/smaps");
    MEMORY memory;
    bool own = false;
    for (std::string line; std::getline(maps, line);) {
        double kiB = 0;
        if (std::sscanf(line.c_str(), "Rss: %lf kB", &kiB) == 1) {
            memory.residentKiB += kiB;
            if (own) memory.codeKiB += kiB;
        } else if (line.find('-') != std::string::npos && line.find(':') > line.find(' ')) {
            own = line.ends_with(program);
        }
    }
    return memory;
}

void print(const char *when, const MEMORY &memory) {
    std::printf("  %-34s %7.0f KiB resident, %6.0f KiB of it code, %6.2f MiB above it\n", when,
                memory.residentKiB, memory.codeKiB, (memory.residentKiB - memory.codeKiB) / 1024);
    std::fflush(stdout);
}

WORLD_SETTINGS settings_for(const std::string &output, double speed) {
    WORLD_SETTINGS settings;
    settings.places = find_lab_places("");
    std::string error;
    if (!read_scenario(settings.places.scenarios + "/first-generation.json", settings.scenario,
                       error)) {
        LabOutputs::complain(error);
        std::exit(1);
    }
    settings.scenario.timeline.clear();
    settings.scenario.expect = {};
    settings.scenario.config = Json::nullValue;
    settings.outputFolder = output;
    settings.speed = speed;
    settings.style.quiet = true;
    settings.style.transcript = false;
    return settings;
}

int idle(const std::string &output) {
    WORLD_SETTINGS settings = settings_for(output, IDLE_SPEED);
    std::optional<double> firstAt, firstCpu;
    settings.watch = [&](double at, pid_t life, std::size_t) {
        if (at < SETTLED_AT) return true;
        if (!firstAt) {
            firstAt = at;
            firstCpu = cpu_seconds(life);
        }
        if (at < *firstAt + IDLE_SECONDS) return true;
        const double used = cpu_seconds(life) - *firstCpu, passed = at - *firstAt;
        std::printf(
            "  processor: %.1f ms in %.0f simulated seconds, %.4f %% of a core (aim 0.05 %%)\n",
            used * 1000, passed, used / passed * 100);
        print("memory (aim 12 MiB above)", memory_of(life));
        return false;
    };
    return World(std::move(settings)).run();
}

int month(const std::string &output) {
    void *shared = ::mmap(nullptr, sizeof(std::atomic<std::uint64_t>), PROT_READ | PROT_WRITE,
                          MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    if (shared == MAP_FAILED) return 1;
    auto *lines = new (shared) std::atomic<std::uint64_t>(0);
    WORLD_SETTINGS settings = settings_for(output, MONTH_SPEED);
    settings.answerFromMemory = true;
    settings.lineCount = lines;
    settings.countedStart = "esxtop ";
    std::uint64_t next = 0;
    settings.watch = [&](double at, pid_t life, std::size_t sends) {
        // Each build of the host's cache asks for its memory once.
        const std::uint64_t builds = lines->load();
        if (sends == 0 || builds < next) return true;
        char when[64];
        std::snprintf(when, sizeof when, "%6llu builds, %3zu sends, day %3.0f:",
                      static_cast<unsigned long long>(builds), sends, at / 86400);
        print(when, memory_of(life));
        if (builds >= MONTH_BUILDS && sends >= MONTH_SENDS) return false;
        next = builds < MONTH_BUILDS ? builds + MONTH_BUILDS / 4 : builds + 1000;
        if (builds < MONTH_BUILDS && next > MONTH_BUILDS) next = MONTH_BUILDS;
        return true;
    };
    return World(std::move(settings)).run();
}
} // namespace

int main() {
    char folder[] = "/tmp/orb-idle-XXXXXX";
    if (::mkdtemp(folder) == nullptr) {
        std::perror("idle_daemon_bench: /tmp");
        return 1;
    }
    std::printf("Idle, %.0f simulated minutes at %.0f times speed, shell lines run for real\n",
                IDLE_SECONDS / 60, IDLE_SPEED);
    int status = idle(std::string(folder) + "/idle");
    std::printf("A month of host builds at %.0f times speed, shell lines answered in process\n",
                MONTH_SPEED);
    status |= month(std::string(folder) + "/month");
    std::error_code failure; // nobody needs the folder any more
    std::filesystem::remove_all(folder, failure);
    return status;
}
