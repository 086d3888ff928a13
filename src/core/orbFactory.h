#pragma once

class orbResourceManager;

/// The four managers, set before `main`.
extern orbResourceManager *FCClassObj;
extern orbResourceManager *HostClassObj;
extern orbResourceManager *SASClassObj;
extern orbResourceManager *NICClassObj;

/// Turns a resource id into its manager. Any thread.
class orbFactory {
public:
    /// @return the manager of ids 0 to 3, null for any other; owned by the manager's class
    orbResourceManager *createInstance(int id);
};
