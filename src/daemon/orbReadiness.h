#pragma once

#include <string>

/// Tells a service manager about the daemon's state: one datagram per change to the socket that the
/// environment names in NOTIFY_SOCKET, a path or an abstract name behind "@". Without it, silent.
class orbReadiness {
public:
    /// Takes the socket's name out of the environment, so that commands don't inherit it. Call
    /// before other threads run.
    orbReadiness();

    bool ready() const { return send("READY=1"); }
    bool stopping() const { return send("STOPPING=1"); }

private:
    bool send(const std::string &state) const; // false where it could not be told

    std::string socketName;
};
