#include "storage/orbStorageController.h"

#include <type_traits>

#include <gtest/gtest.h>

namespace {
// Subclasses for particular hardware are made by their own claims alone, and never copied.
static_assert(std::is_base_of_v<IorbStorageController, orbStorageController>);
static_assert(!std::is_default_constructible_v<orbStorageController>);
static_assert(!std::is_copy_constructible_v<orbStorageController>);
static_assert(std::has_virtual_destructor_v<orbStorageController>);
} // namespace
