#pragma once

#include "storage/IorbStorageControllerFactory.h"

/// A factory without controllers, for lists of factories. Any thread; it keeps nothing.
class IdleFactory : public IorbStorageControllerFactory {
public:
    int discoverControllers(std::vector<IorbStorageController *> &controllers) override {
        controllers.clear();
        return 0;
    }
    void getControllers(unsigned char, std::vector<IorbStorageController *> &controllers) override {
        controllers.clear();
    }
    void shutdownFactory() override {}
    void poll() override {}
    void deleteControllers(unsigned char) override {}
    const MODELS &getSupportedControllerModels() override {
        static const MODELS none;
        return none;
    }
};
