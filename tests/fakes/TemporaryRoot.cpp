#include "fakes/TemporaryRoot.h"

#include <stdlib.h>

#include <filesystem>
#include <fstream>
#include <sstream>

#include <gtest/gtest.h>

TemporaryRoot::TemporaryRoot() {
    std::string pattern = (std::filesystem::temp_directory_path() / "orb-test-XXXXXX").string();
    if (::mkdtemp(pattern.data()) == nullptr) ADD_FAILURE() << "no temporary directory";
    root = pattern;
    outer = replace(this);
}

TemporaryRoot::~TemporaryRoot() {
    replace(outer);
    std::error_code ignored; // a directory that can't be removed fails no test
    std::filesystem::remove_all(root, ignored);
}

void TemporaryRoot::write(const std::string &hostPath, const std::string &content) {
    const std::filesystem::path file = map(hostPath);
    std::filesystem::create_directories(file.parent_path());
    std::ofstream(file, std::ios::binary) << content;
}

void TemporaryRoot::makeDirectory(const std::string &hostPath) {
    std::filesystem::create_directories(root + hostPath);
}

std::string TemporaryRoot::read(const std::string &hostPath) const {
    std::ostringstream text;
    text << std::ifstream(root + hostPath, std::ios::binary).rdbuf();
    return text.str();
}

bool TemporaryRoot::exists(const std::string &hostPath) const {
    return std::filesystem::exists(std::filesystem::symlink_status(root + hostPath));
}
