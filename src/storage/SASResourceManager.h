#pragma once

#include "reporting/orbIdleResourceManager.h"

/// The manager of the host's storage controllers, drives and volumes; it finds none yet.
class SASResourceManager final : public orbIdleResourceManager {
public:
    static SASResourceManager &getInstance();

private:
    ORB_IDLE_STATE &state() override;
};
