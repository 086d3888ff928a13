#pragma once

#include <sys/types.h>

#include <atomic>
#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "life/LabTime.h"
#include "life/wire.h"
#include "rmc/Rmc.h"
#include "world/CommandInputs.h"
#include "world/DaemonLog.h"
#include "world/Expectations.h"
#include "world/LabOutputs.h"
#include "world/LabSignals.h"
#include "world/OutputFolder.h"
#include "world/ReceivedSoFar.h"
#include "world/Scenario.h"
#include "world/StorageTree.h"
#include "world/host_root.h"
#include "world/lab_command.h"
#include "world/lab_places.h"

struct WORLD_SETTINGS {
    SCENARIO scenario;
    LAB_PLACES places;
    std::string outputFolder = "lab-out"; ///< made where it is missing
    double speed = 20;
    bool once = false;     ///< end when everything expected has come
    bool keep = false;     ///< go on with the server's files of the former run
    bool realHost = false; ///< this machine's identity and commands
    bool readStandardInput = false;
    std::string commandFifo; ///< made where it is missing; empty: none
    LabOutputs::STYLE style;
    bool answerFromMemory = false;                   ///< the daemon's shell lines, see LabCommands
    std::atomic<std::uint64_t> *lineCount = nullptr; ///< counts them; in shared memory
    std::string countedStart; ///< what a counted line begins with; empty: all are counted
    /// Called with each turn of the loop. @param life  the daemon's process @return false to end
    std::function<bool(double labSeconds, pid_t life, std::size_t inventories)> watch = {};
};

/// The lab's first process: the simulated server around the daemon's lives, its RMC, and what
/// happens to them over time. One thread; the daemon's lives are processes forked from it.
class World {
public:
    explicit World(WORLD_SETTINGS wanted);
    ~World();
    World(const World &) = delete;
    World &operator=(const World &) = delete;

    int run(); ///< @return the program's exit status: 0 all well, 1 not

private:
    enum class Life { RUNNING, STOPPING, DOWN, ENDED };
    /// What follows when the daemon's process has ended.
    enum class Next { UNEXPECTED, RESTART, BOOT, NOTHING };
    struct CONNECTION {
        int fd;
        std::optional<WIRE_ANSWER> answer; // waiting to go out
        std::int64_t dueNs = 0;            // by the monotonic clock
        bool withheld = false;             // until the RMC is back
        bool ownsTransfer = false;         // sent the last message of the open transfer
    };

    bool prepare(std::string &error);
    bool makeRealHost(std::string &error);
    void loop();
    int pollTimeoutMs() const;

    // The daemon's lives
    bool startLife();
    void reapLife();
    void endLife(int signal, Next then, double afterSeconds);
    void closeConnections();
    void watchStop();
    bool bootIfDue();

    // The wire
    void acceptConnections();
    bool serve(CONNECTION &connection); // false: the daemon closed it
    void sendDueAnswers();
    void handOut(CONNECTION &connection);
    void receive();

    // Time, commands, log
    void runTimeline();
    bool runCommand(const std::string &line, std::string &error);
    bool runLifeCommand(const LAB_COMMAND &command, std::string &error);
    bool changeNic(const LAB_COMMAND &command, std::string &error);
    bool changeFc(const LAB_COMMAND &command, std::string &error);
    bool changeStorage(const LAB_COMMAND &command, std::string &error);
    void endResets(); // whose time is over
    bool setFact(const LAB_COMMAND &command, std::string &error);
    void readLog();
    void finish(bool good, const std::string &why);
    void conclude();
    double now() const { return time.sinceOriginSeconds(); }

    WORLD_SETTINGS settings;
    SCENARIO &scenario;
    HostRoot root;
    StorageTree sysfs;
    LabOutputs outputs;
    CommandInputs inputs;
    Rmc rmc;
    Expectations expectations;
    LabTime time;
    std::vector<LogTail> logs;
    DaemonProgress progress;

    LabSignals signals;
    OutputFolder folder;

    pid_t life = -1;
    int lives = 0, control = -1;
    Life state = Life::ENDED;
    Next next = Next::UNEXPECTED;
    double nextAt = 0; // lab seconds at which a server that is down starts the daemon again
    double downSeconds = 0;
    bool killed = false; // the life was ended by force; its status says nothing
    std::int64_t stopBeganNs = 0, startedNs = 0;
    int unexpectedEnds = 0;
    std::int64_t bootTime = 0;
    std::vector<CONNECTION> connections;
    std::size_t transferMessages = 0;

    struct RESET {
        std::string controller;
        double endsAt; // lab seconds
    };
    std::vector<RESET> resets; // that run

    std::size_t step = 0; // of the timeline
    std::optional<double> stepReady;
    std::vector<bool> stepLogSeen; // by step: its text has come up in the log
    bool stepNewLogSeen = false;   // the present step's, since the step before was done
    bool finishing = false, good = true;
    std::string reason;
    std::vector<std::string> faults;
    ReceivedSoFar received;
};
