#pragma once

#include <string>

/// The folder where one run's files go, held for this run alone: two in one folder would spoil each
/// other's files. Free again at destruction. One thread.
class OutputFolder {
public:
    OutputFolder() = default;
    ~OutputFolder();
    OutputFolder(const OutputFolder &) = delete;
    OutputFolder &operator=(const OutputFolder &) = delete;

    /// Makes the folder where it is missing. @param error  takes "path: why"
    bool take(const std::string &path, std::string &error);

private:
    int lock = -1;
};
