#include "sysfs_folder.h"

#include <dirent.h>
#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <memory>
#include <utility>

#include "plain_text.h"

namespace {
/// Needs no right to list the folder, and costs less than a descriptor that can be read from.
constexpr int FOLDER_FLAGS = O_PATH | O_DIRECTORY | O_CLOEXEC;

struct CLOSE_FOLDER {
    void operator()(DIR *folder) const { ::closedir(folder); }
};
} // namespace

SYSFS_FOLDER::SYSFS_FOLDER(const std::string &path)
    : fd(::open(path.c_str(), FOLDER_FLAGS)), errorNumber(fd < 0 ? errno : 0) {}

SYSFS_FOLDER::SYSFS_FOLDER(const SYSFS_FOLDER &above, const char *name)
    : fd(above.isOpen() ? ::openat(above.fd, name, FOLDER_FLAGS) : -1),
      errorNumber(!above.isOpen() ? above.errorNumber
                  : fd < 0        ? errno
                                  : 0) {}

SYSFS_FOLDER::~SYSFS_FOLDER() {
    if (fd >= 0) ::close(fd);
}

int SYSFS_FOLDER::bytes(const char *name, std::span<char> room, std::size_t &read) const {
    read = 0;
    if (fd < 0) return errorNumber;
    const int file = ::openat(fd, name, O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    if (file < 0) return errno;
    int error = 0;
    while (read < room.size()) {
        const ssize_t got = ::read(file, room.data() + read, room.size() - read);
        if (got < 0 && errno == EINTR) continue;
        if (got < 0) error = errno;
        if (got <= 0) break;
        read += static_cast<std::size_t>(got);
        // An attribute comes whole with the first read that doesn't fill the room.
        if (read < room.size()) break;
    }
    ::close(file);
    return error;
}

std::string SYSFS_FOLDER::text(const char *name) const {
    std::array<char, TEXT_LIMIT> room;
    std::size_t read = 0;
    if (bytes(name, room, read) != 0) return {};
    return one_line(std::string_view(room.data(), read));
}

std::string SYSFS_FOLDER::linkTarget(const char *name) const {
    if (fd < 0) return {};
    std::array<char, TEXT_LIMIT> target;
    const ssize_t length = ::readlinkat(fd, name, target.data(), target.size());
    if (length <= 0 || static_cast<std::size_t>(length) == target.size()) return {};
    return {target.data(), static_cast<std::size_t>(length)};
}

std::string SYSFS_FOLDER::linkedName(const char *name) const {
    const std::string target = linkTarget(name);
    return target.substr(target.rfind('/') + 1);
}

int SYSFS_FOLDER::list(const std::function<void(const char *)> &take) const {
    if (fd < 0) return errorNumber;
    const int readable = ::openat(fd, ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (readable < 0) return errno;
    const std::unique_ptr<DIR, CLOSE_FOLDER> folder(::fdopendir(readable));
    if (!folder) {
        const int error = errno;
        ::close(readable);
        return error;
    }
    while (const dirent *entry = ::readdir(folder.get())) {
        const std::string_view name = entry->d_name;
        if (name != "." && name != "..") take(entry->d_name);
    }
    return 0;
}

std::string SYSFS_FOLDER::first(const std::function<bool(std::string_view)> &accepts) const {
    std::string found;
    // Without a folder there is no name.
    static_cast<void>(list([&](std::string_view name) {
        if (!accepts(name)) return;
        if (found.empty() ||
            std::pair(name.size(), name) < std::pair(found.size(), std::string_view(found)))
            found = name;
    }));
    return found;
}

std::string SYSFS_FOLDER::firstNumbered(std::string_view stem) const {
    return first([&](std::string_view name) { return !number_behind(name, stem).empty(); });
}

std::string SYSFS_FOLDER::firstOfAll() const {
    return first([](std::string_view) { return true; });
}

std::string_view number_behind(std::string_view name, std::string_view stem) {
    if (!name.starts_with(stem)) return {};
    const std::string_view number = name.substr(stem.size());
    return number.find_first_not_of("0123456789") == std::string_view::npos ? number
                                                                            : std::string_view();
}
