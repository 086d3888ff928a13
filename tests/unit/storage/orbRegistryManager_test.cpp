#include "storage/orbRegistryManager.h"

#include <cstdio>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "support/IdleFactory.h"

namespace {
using Classes = orbRegistryManager<_ORB_STORAGE_CONTROLLER_CLASS_METADATA>;
using Factories = orbRegistryManager<IorbStorageControllerFactory *>;

bool claimsNothing(std::uint32_t, std::uint32_t, std::string &, bool, orbStorageController **) {
    return false;
}
bool claimsNothingElse(std::uint32_t, std::uint32_t, std::string &, bool, orbStorageController **) {
    return false;
}
void refreshesNothing() {}

std::vector<std::string> names() {
    std::vector<std::string> all;
    for (const auto &row : Classes::getRegistryList()) all.push_back(row.name);
    return all;
}

// What has registered itself is there at `main`; nothing of the library does yet.
TEST(Registries, NothingEntersItself) {
    EXPECT_TRUE(Classes::getRegistryList().empty());
    EXPECT_TRUE(Factories::getRegistryList().empty());
}

TEST(ClassRegistry, KeepsTheOrderOfRegistration) {
    const Classes one({"one", claimsNothing, refreshesNothing});
    const Classes two({"two", claimsNothing, refreshesNothing});
    EXPECT_EQ(names(), (std::vector<std::string>{"one", "two"}));
}

TEST(ClassRegistry, TheSameNameReplacesAndMovesToTheEnd) {
    const Classes one({"one", claimsNothing, refreshesNothing});
    const Classes two({"two", claimsNothing, refreshesNothing});
    const Classes again({"one", claimsNothingElse, refreshesNothing});
    EXPECT_EQ(names(), (std::vector<std::string>{"two", "one"}));
    EXPECT_EQ(Classes::getRegistryList().back().claim, claimsNothingElse);
}

TEST(FactoryRegistry, TheSameFactoryReplacesAndMovesToTheEnd) {
    IdleFactory one, two;
    const Factories first(&one), second(&two), third(&one);
    EXPECT_EQ(Factories::getRegistryList(),
              (std::vector<IorbStorageControllerFactory *>{&two, &one}));
}

// The linker keeps such a unit although nobody names it, and it has entered itself at `main`.
TEST(Registries, HoldWhatRegisteredItselfInASharedLibrary) {
    std::FILE *const stream = ::popen(REGISTRAR_PROGRAM, "re");
    ASSERT_NE(stream, nullptr);
    char output[256] = "";
    const std::size_t length = std::fread(output, 1, sizeof output - 1, stream);
    EXPECT_EQ(::pclose(stream), 0);
    EXPECT_EQ(std::string(output, length), "selfRegistered\n1 factories\n");
}
} // namespace
