#include "storage/IorbStorageControllerFactory.h"

#include <cstddef>

#include <gtest/gtest.h>

#include "core/status_words.h"
#include "unit/storage/RecordFields.h"

namespace {
TEST(StorageControllerFactoryInterface, VirtualOperationsStandInTheirOrder) {
    using F = IorbStorageControllerFactory;
    const std::size_t slots[] = {
        slot_of(&F::discoverControllers), slot_of(&F::getControllers),
        slot_of(&F::shutdownFactory),     slot_of(&F::poll),
        slot_of(&F::deleteControllers),   slot_of(&F::getSupportedControllerModels),
    };
    std::size_t slot = 0;
    for (const std::size_t actual : slots) EXPECT_EQ(actual, slot++);
}
} // namespace
