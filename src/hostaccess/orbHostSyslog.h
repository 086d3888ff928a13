#pragma once

/// The host's system log.
class IorbHostSyslog {
public:
    virtual ~IorbHostSyslog() = default;
    /// Opens the log, writes the text as it stands and closes the log, as one step for all threads.
    /// @param ident     static text, kept by the system log until the next call
    /// @param facility  as of openlog(3), such as LOG_USER
    /// @param priority  as of syslog(3), such as LOG_ERR
    virtual void write(const char *ident, int facility, int priority, const char *text) = 0;

    static IorbHostSyslog &get(); ///< the host's own, or the one put in by replace()
    static IorbHostSyslog *replace(IorbHostSyslog *next); ///< gives the former; null: the host's
};
