#include "fakes/FakeLibraries.h"

#include <utility>

#include <gtest/gtest.h>

FakeLibraries::~FakeLibraries() {
    replace(outer);
}

void FakeLibraries::add(const std::string &name, const SYMBOLS &symbols) {
    const std::lock_guard<std::mutex> lock(mutex);
    libraries[name] = {name, symbols};
}

void FakeLibraries::onOpen(std::function<void()> action) {
    const std::lock_guard<std::mutex> lock(mutex);
    opening = std::move(action);
}

std::vector<std::string> FakeLibraries::calls() const {
    const std::lock_guard<std::mutex> lock(mutex);
    return log;
}

int FakeLibraries::opened(const std::string &name) const {
    const std::lock_guard<std::mutex> lock(mutex);
    const auto found = libraries.find(name);
    return found != libraries.end() ? found->second.open : 0;
}

void *FakeLibraries::open(const char *name, int flags) {
    std::function<void()> action;
    {
        const std::lock_guard<std::mutex> lock(mutex);
        log.push_back(std::string("open ") + name + " " + std::to_string(flags));
        action = opening;
    }
    if (action) action();
    const std::lock_guard<std::mutex> lock(mutex);
    const auto found = libraries.find(name);
    if (found == libraries.end()) {
        pendingError() = std::string(name) + ": cannot open shared object file";
        return nullptr;
    }
    ++found->second.open;
    return &found->second;
}

FakeLibraries::Library *FakeLibraries::find(void *handle) {
    for (auto &[name, library] : libraries)
        if (&library == handle && library.open > 0) return &library;
    ADD_FAILURE() << "no open library";
    return nullptr;
}

void *FakeLibraries::symbol(void *library, const char *name) {
    const std::lock_guard<std::mutex> lock(mutex);
    log.push_back(std::string("symbol ") + name);
    const Library *const known = find(library);
    if (known == nullptr) return nullptr;
    const auto found = known->symbols.find(name);
    if (found != known->symbols.end()) return found->second;
    pendingError() = known->name + ": undefined symbol: " + name;
    return nullptr;
}

int FakeLibraries::close(void *library) {
    const std::lock_guard<std::mutex> lock(mutex);
    Library *const known = find(library);
    log.push_back("close " + (known != nullptr ? known->name : "?"));
    if (known == nullptr) return -1;
    --known->open;
    return 0;
}

char *FakeLibraries::error() {
    const std::lock_guard<std::mutex> lock(mutex);
    log.emplace_back("error");
    ErrorText &own = errors[std::this_thread::get_id()];
    if (own.pending.empty()) return nullptr;
    own.told = std::exchange(own.pending, {});
    return own.told.data();
}
