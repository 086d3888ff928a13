#include "hostaccess/orbHostCommands.h"

#include <cerrno>
#include <cstdlib>

#include "hostaccess/orbSeam.h"

namespace {
class HostCommands final : public IorbHostCommands {
public:
    ORB_COMMAND_RESULT system(const std::string &line) override {
        errno = 0;
        const int status = std::system(line.c_str());
        return {status, errno};
    }
    std::FILE *popen(const std::string &line, int *err) override {
        errno = 0;
        std::FILE *stream = ::popen(line.c_str(), "re");
        *err = stream == nullptr ? errno : 0;
        return stream;
    }
    int pclose(std::FILE *stream) override { return ::pclose(stream); }
};
constinit orbImmortal<HostCommands> host;
constinit orbSeam<IorbHostCommands> seam{host.value};
} // namespace

IorbHostCommands &IorbHostCommands::get() {
    return seam.get();
}
IorbHostCommands *IorbHostCommands::replace(IorbHostCommands *next) {
    return seam.replace(next);
}
