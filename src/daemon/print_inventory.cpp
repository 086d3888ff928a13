#include "daemon/print_inventory.h"

#include <signal.h>
#include <unistd.h>

#include <atomic>
#include <string>

#include <json/json.h>

#include "core/Logger.h"
#include "core/json_text.h"
#include "core/module_names.h"
#include "core/orbConfig.h"
#include "core/orbFactory.h"
#include "core/orbResourceManager.h"
#include "core/orbThread.h"
#include "core/orbUtils.h"
#include "daemon/command_path.h"
#include "daemon/daemon_life.h"
#include "daemon/daemon_signals.h"
#include "daemon/daemon_texts.h"
#include "daemon/exit_status.h"
#include "daemon/orbPrivateHost.h"
#include "hostaccess/orbHostProcess.h"
#include "platform/orbSystemInterfaceFactory.h"
#include "reporting/orbJsonAggregator.h"
#include "storage/SASResourceManager.h"
#include "storage/orbStorageControllerFactory.h"

namespace {
constexpr int RESOURCE_IDS[] = {0, 1, 2, 3}; // in the order in which the daemon starts them
constexpr char ENVELOPE_KEY[] = "HostDataCollection";
constexpr std::int64_t HOUR_MS = 3600 * 1000;

/// Ends the process on a signal without leaving the private folder behind.
class SignalGuard {
public:
    explicit SignalGuard(orbPrivateHost &privateHost) : host(privateHost) {}
    ~SignalGuard() {
        done = true;
        if (!thread.isStarted()) return;
        ::kill(::getpid(), SIGHUP); // every other thread blocks it
        (void)thread.join();        // it was woken
    }
    SignalGuard(const SignalGuard &) = delete;
    SignalGuard &operator=(const SignalGuard &) = delete;

    bool start() { return thread.create(entry, this) == 0; }

private:
    static void *entry(void *self) {
        static_cast<SignalGuard *>(self)->wait();
        return nullptr;
    }
    void wait() {
        while (wait_for_signal(HOUR_MS) == ORB_WAKE_TIMEOUT) {
        }
        if (done) return;
        host.remove();
        IorbHostProcess::get().exitNow(ORB_EXIT_FAILED);
    }

    orbPrivateHost &host;
    orbThread thread{"signal guard"};
    std::atomic<bool> done{false}; // the main thread sets it, the guard reads it
};

/// What a manager's thread asks the host once, before its first rebuild.
void gather_names(int id) {
    if (id != ORB_FIBRE_CHANNEL) return;
    orbUtils::initFcInfoMap();
    orbUtils::initFcNameMap();
}

std::string indented_json(const Json::Value &value) {
    Json::StreamWriterBuilder builder;
    builder["indentation"] = "  ";
    return Json::writeString(builder, value);
}
} // namespace

int print_inventory(const ORB_DAEMON_OPTIONS &options) {
    block_signals();
    append_commands_to_path(own_program());
    orbPrivateHost host;
    if (std::string fault; !host.make(fault)) {
        print_error("print the inventory", fault);
        return ORB_EXIT_FAILED;
    }
    SignalGuard guard(host);
    if (!guard.start()) {
        print_error("print the inventory", "no thread");
        return ORB_EXIT_FAILED;
    }
    std::string fault;
    if (const orbConfig *const config = read_config(fault)) {
        // The logger opens its files when it is made; a running daemon's must not be among them.
        host.keepLog(config->getORBLogFileLocation(), "orb.log");
        host.keepLog(config->getORBDebugLogFileLocation(), "orb-debug.log");
    } else {
        print_error(host.map(ORB_CONFIG_FILE), fault);
        return ORB_EXIT_FAILED;
    }
    CPlusPlusLogging::Logger::getInstance()->disableLog();

    if (options.genericStorage) orbStorageControllerFactory::registerInstance();
    prepare_host_facts();
    for (const int id : RESOURCE_IDS) {
        if (!orbConfig::getInstance()->isResourceEnabled(id)) continue;
        gather_names(id);
        orbFactory().createInstance(id)->cacheBuild();
    }
    orbJsonAggregator aggregator;
    aggregator.collectDocument();
    Json::Value document(Json::objectValue);
    document[ENVELOPE_KEY] = Json::Value(Json::objectValue);
    if (!aggregator.document().isNull()) document[ENVELOPE_KEY] = aggregator.document();
    SASResourceManager::shutdownFactories();
    orbSystemInterfaceFactory::getSystemInterface()->UnInitialize();

    const std::string text = options.compact ? compact_json(document) : indented_json(document);
    IorbHostProcess::get().writeStandardOutput(text + "\n");
    return ORB_EXIT_DONE;
}
