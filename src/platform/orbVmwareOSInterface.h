#pragma once

#include "platform/orbOSInterface.h"

/// The host's operating system by its `localcli` command.
class orbVmwareOSInterface final : public orbOSInterface {
public:
    static orbVmwareOSInterface *getInstance();

    int populateHardwarePCIDetails() override;
    void Initialize() override; ///< nothing to do
    void UnInitialize() override;

private:
    constexpr orbVmwareOSInterface() = default;
};
