#pragma once

#include "reporting/orbIdleResourceManager.h"

/// The manager of the host's Ethernet adapters; it finds none yet.
class NICResourceManager final : public orbIdleResourceManager {
public:
    static NICResourceManager &getInstance();

private:
    ORB_IDLE_STATE &state() override;
};
