#pragma once

#include <functional>
#include <map>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "hostaccess/orbHostLibraries.h"

/// Serves libraries from a table of entry points; nothing is ever loaded. A library or a symbol
/// that isn't there fails as with the loader, with an error text that is told once, to the thread
/// that met the failure. Any thread.
class FakeLibraries final : public IorbHostLibraries {
public:
    using SYMBOLS = std::map<std::string, void *>;

    FakeLibraries() : outer(replace(this)) {}
    ~FakeLibraries() override;
    FakeLibraries(const FakeLibraries &) = delete;
    FakeLibraries &operator=(const FakeLibraries &) = delete;

    void add(const std::string &name, const SYMBOLS &symbols);
    /// Called within open(), before its answer, with no lock held: it may wait.
    void onOpen(std::function<void()> action);

    /// What was called, in order: "error", "open NAME FLAGS", "symbol NAME", "close NAME".
    std::vector<std::string> calls() const;
    int opened(const std::string &name) const; ///< how many handles of a library are open

    void *open(const char *name, int flags) override;
    void *symbol(void *library, const char *name) override;
    int close(void *library) override;
    char *error() override;

    /// An entry point for the table.
    template <typename Function> static void *entry(Function *function) {
        return reinterpret_cast<void *>(function);
    }

private:
    struct Library {
        std::string name;
        SYMBOLS symbols;
        int open = 0;
    };
    struct ErrorText {
        std::string pending, told; // what is due, and what was handed out last
    };
    Library *find(void *handle); // `mutex` held
    std::string &pendingError() { return errors[std::this_thread::get_id()].pending; }

    mutable std::mutex mutex; // guards all below
    std::map<std::string, Library> libraries;
    std::function<void()> opening;
    std::vector<std::string> log;
    std::map<std::thread::id, ErrorText> errors;
    IorbHostLibraries *outer;
};
