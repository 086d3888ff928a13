#include "daemon/daemon_texts.h"

#include <unistd.h>

#include <system_error>

void print_error(const std::string &what, const std::string &why) {
    const std::string line = "orbd: " + what + ": " + why + "\n";
    // Nobody is left to tell where standard error can't be written.
    [[maybe_unused]] const ssize_t written = ::write(STDERR_FILENO, line.data(), line.size());
}

std::string errno_text(int err) {
    return std::generic_category().message(err);
}
