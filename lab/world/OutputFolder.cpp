#include "world/OutputFolder.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <filesystem>

OutputFolder::~OutputFolder() {
    if (lock >= 0) ::close(lock);
}

bool OutputFolder::take(const std::string &path, std::string &error) {
    std::error_code failure;
    std::filesystem::create_directories(path, failure);
    if (failure) {
        error = path + ": " + failure.message();
        return false;
    }
    lock = ::open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (lock >= 0 && ::flock(lock, LOCK_EX | LOCK_NB) == 0) return true;
    error =
        path + ": " + (errno == EWOULDBLOCK ? "is in use by another orblab" : std::strerror(errno));
    return false;
}
