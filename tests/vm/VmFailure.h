#pragma once

#include <stdexcept>

/// The machine did not do what a case needs of it. Ends the case; the next one begins with a
/// machine that works.
class VmFailure : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};
