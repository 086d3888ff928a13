#include "fc/hba_loader.h"

#include <gtest/gtest.h>

#include "fakes/FakeLibraries.h"
#include "fakes/TemporaryRoot.h"

namespace {
TEST(HbaLoader, WithoutAFileThereIsNothing) {
    TemporaryRoot root;
    FakeLibraries libraries;
    EXPECT_EQ(HBA_LoadLibrary(), HBA_STATUS_ERROR);
    EXPECT_EQ(HBA_GetNumberOfAdapters(), 0u);
    EXPECT_TRUE(libraries.calls().empty());
}

TEST(HbaLoader, AnEmptyFileIsFine) {
    TemporaryRoot root;
    FakeLibraries libraries;
    root.write(HBA_CONF_FILE, "");
    EXPECT_EQ(HBA_LoadLibrary(), HBA_STATUS_OK);
    EXPECT_EQ(HBA_GetNumberOfAdapters(), 0u);
    EXPECT_TRUE(libraries.calls().empty());
}
} // namespace
