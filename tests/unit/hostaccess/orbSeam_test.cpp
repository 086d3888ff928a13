#include "hostaccess/orbSeam.h"

#include <gtest/gtest.h>

#include "fakes/CapturedSyslog.h"
#include "fakes/FakeIdentity.h"
#include "fakes/FakeProcess.h"
#include "fakes/ScriptedCommands.h"
#include "fakes/ScriptedHostDevices.h"
#include "fakes/TemporaryRoot.h"
#include "fakes/VirtualClock.h"
#include "hostaccess/orbHostLibraries.h"

namespace {
/// A door and something else to put into it.
template <typename Interface, typename Fake> struct Door {
    using I = Interface;
    using F = Fake;
};
class NoLibraries final : public IorbHostLibraries {
public:
    NoLibraries() : outer(replace(this)) {}
    ~NoLibraries() override { replace(outer); }
    void *open(const char *, int) override { return nullptr; }
    void *symbol(void *, const char *) override { return nullptr; }
    int close(void *) override { return -1; }
    char *error() override { return nullptr; }

private:
    IorbHostLibraries *outer;
};
template <typename D> class Seam : public ::testing::Test {};
using Doors =
    ::testing::Types<Door<IorbHostFiles, TemporaryRoot>, Door<IorbHostDevices, ScriptedHostDevices>,
                     Door<IorbHostCommands, ScriptedCommands>, Door<IorbHostLibraries, NoLibraries>,
                     Door<IorbHostClock, VirtualClock>, Door<IorbHostIdentity, FakeIdentity>,
                     Door<IorbHostSyslog, CapturedSyslog>, Door<IorbHostProcess, FakeProcess>>;
TYPED_TEST_SUITE(Seam, Doors);
} // namespace

TYPED_TEST(Seam, GivesTheFormerAndReturnsToTheHosts) {
    using Interface = typename TypeParam::I;
    Interface *hosts = &Interface::get();
    {
        const typename TypeParam::F outer{};
        EXPECT_EQ(&Interface::get(), &outer);
        {
            const typename TypeParam::F inner{};
            EXPECT_EQ(&Interface::get(), &inner);
        }
        EXPECT_EQ(&Interface::get(), &outer);
        EXPECT_EQ(Interface::replace(nullptr), &outer); // null: the host's own
        EXPECT_EQ(&Interface::get(), hosts);
    }
    EXPECT_EQ(&Interface::get(), hosts);
    EXPECT_EQ(Interface::replace(hosts), hosts);
}
