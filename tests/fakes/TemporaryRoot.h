#pragma once

#include <string>

#include "hostaccess/orbHostFiles.h"

/// The host's files below a private, empty directory that goes away with the object. Any thread; a
/// file's content is the file system's, so a reader in the middle of a write() sees half of it.
class TemporaryRoot final : public IorbHostFiles {
public:
    TemporaryRoot();
    ~TemporaryRoot() override;
    TemporaryRoot(const TemporaryRoot &) = delete;
    TemporaryRoot &operator=(const TemporaryRoot &) = delete;

    std::string map(const std::string &hostPath) override { return root + hostPath; }
    const std::string &path() const { return root; }

    /// The paths below are the host's. write() makes the directories that are missing.
    void write(const std::string &hostPath, const std::string &content);
    void makeDirectory(const std::string &hostPath);     ///< with its parents
    std::string read(const std::string &hostPath) const; ///< "" where there is no such file
    bool exists(const std::string &hostPath) const;

private:
    std::string root;
    IorbHostFiles *outer;
};
