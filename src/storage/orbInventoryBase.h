#pragma once

#include <json/json.h>

/// Root of the storage records: values that a controller fills, keeps in two copies and hands out.
/// A record owns all that it holds and has no lock; each copy belongs to one thread at a time.
///
/// What is behind a reference to any base shows itself whole. Views are built anew by each call,
/// and an object's text has its keys in byte order, whatever the order in which they were put in.
class orbInventoryBase {
public:
    virtual Json::Value getVariableData() = 0;  ///< what an event about this object carries
    virtual Json::Value getInventoryData() = 0; ///< its entry in the inventory; null: has none
    virtual ~orbInventoryBase() = default;

protected:
    orbInventoryBase() = default;
    orbInventoryBase(const orbInventoryBase &) = default;
    orbInventoryBase &operator=(const orbInventoryBase &) = default;
};
