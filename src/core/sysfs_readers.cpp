#include "core/sysfs_readers.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <string_view>
#include <type_traits>

namespace {
constexpr std::size_t READ_LIMIT_BYTES = 4096;

struct NUMBER_FORMAT {
    std::string_view format;
    unsigned base;
    bool isSigned;
    std::size_t widthBytes;
};
constexpr NUMBER_FORMAT NUMBER_FORMATS[] = {
    {"%llx", 16, false, 8}, {"%lx", 16, false, 8},  {"%x", 16, false, 4},
    {"%hx", 16, false, 2},  {"%hhx", 16, false, 1}, {"%u", 10, false, 4},
    {"%llu", 10, false, 8}, {"%d", 10, true, 4},    {"%ld", 10, true, 8},
};

const NUMBER_FORMAT *find_format(const char *format) {
    if (format == nullptr) return nullptr;
    const auto *const row =
        std::find_if(std::begin(NUMBER_FORMATS), std::end(NUMBER_FORMATS),
                     [format](const NUMBER_FORMAT &known) { return known.format == format; });
    return row == std::end(NUMBER_FORMATS) ? nullptr : row;
}

template <typename Number> void store(std::uint64_t bits, void *out) {
    const Number number = static_cast<Number>(bits);
    std::memcpy(out, &number, sizeof number);
}

template <typename Number> Number read_number(const char *path, const char *format) {
    Number number = static_cast<Number>(~std::make_unsigned_t<Number>{0});
    (void)_get_sysfs_numeric(path, format, &number); // a failure leaves all ones
    return number;
}
} // namespace

unsigned char *get_sysfs_buf(const char *path, std::size_t *size) {
    *size = 0;
    const int fd = ::open(path, O_RDONLY | O_CLOEXEC);
    if (fd < 0) return nullptr;
    auto *const buffer = static_cast<unsigned char *>(std::malloc(READ_LIMIT_BYTES + 1));
    const ssize_t got = buffer != nullptr ? ::read(fd, buffer, READ_LIMIT_BYTES) : -1;
    ::close(fd);
    if (got < 0) {
        std::free(buffer);
        return nullptr;
    }
    *size = static_cast<std::size_t>(got);
    buffer[*size] = 0;
    return buffer;
}

char *get_sysfs_str(const char *path) {
    std::size_t size = 0;
    auto *const text = reinterpret_cast<char *>(get_sysfs_buf(path, &size));
    if (text == nullptr) return nullptr;
    if (size == 0 || text[0] == '\0') {
        std::free(text);
        return nullptr;
    }
    if (char *const newline = static_cast<char *>(std::memchr(text, '\n', size))) *newline = '\0';
    void *const shrunk = std::realloc(text, size + 1);
    return shrunk != nullptr ? static_cast<char *>(shrunk) : text;
}

int decode_sysfs_number(const char *text, const char *format, void *out) {
    const NUMBER_FORMAT *const known = find_format(format);
    if (known == nullptr) return -1;
    char *end = nullptr;
    const int base = static_cast<int>(known->base);
    const std::uint64_t bits = known->isSigned
                                   ? static_cast<std::uint64_t>(std::strtoll(text, &end, base))
                                   : static_cast<std::uint64_t>(std::strtoull(text, &end, base));
    if (end == text) return 0;
    switch (known->widthBytes) {
    case 1:
        store<std::uint8_t>(bits, out);
        break;
    case 2:
        store<std::uint16_t>(bits, out);
        break;
    case 4:
        store<std::uint32_t>(bits, out);
        break;
    default:
        store<std::uint64_t>(bits, out);
        break;
    }
    return 0;
}

int _get_sysfs_numeric(const char *path, const char *format, void *out) {
    char *const text = get_sysfs_str(path);
    if (text == nullptr) return -1;
    const int code = decode_sysfs_number(text, format, out);
    std::free(text);
    return code;
}

std::uint64_t get_sysfs_llhex(const char *path) {
    return read_number<std::uint64_t>(path, "%llx");
}
std::uint64_t get_sysfs_lhex(const char *path) {
    return read_number<std::uint64_t>(path, "%lx");
}
std::uint32_t get_sysfs_ihex(const char *path) {
    return read_number<std::uint32_t>(path, "%x");
}
std::uint16_t get_sysfs_shex(const char *path) {
    return read_number<std::uint16_t>(path, "%hx");
}
std::uint8_t get_sysfs_chex(const char *path) {
    return read_number<std::uint8_t>(path, "%hhx");
}
std::uint32_t get_sysfs_uint(const char *path) {
    return read_number<std::uint32_t>(path, "%u");
}
std::uint64_t get_sysfs_ullong(const char *path) {
    return read_number<std::uint64_t>(path, "%llu");
}
std::int32_t get_sysfs_int(const char *path) {
    return read_number<std::int32_t>(path, "%d");
}
std::int64_t get_sysfs_llong(const char *path) {
    return read_number<std::int64_t>(path, "%ld");
}
