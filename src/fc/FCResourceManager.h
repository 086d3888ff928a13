#pragma once

#include "reporting/orbIdleResourceManager.h"

/// The manager of the host's Fibre Channel adapters; it finds none yet.
class FCResourceManager final : public orbIdleResourceManager {
public:
    static FCResourceManager &getInstance();

private:
    ORB_IDLE_STATE &state() override;
};
