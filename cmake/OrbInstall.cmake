# Where an installation lies. The places are fixed, since the daemon looks for its files there; a
# staging directory goes in front by DESTDIR, and CMAKE_INSTALL_PREFIX plays no part.
include_guard()

set(ORB_INSTALL_PREFIX /opt/vantor/orb)
set(ORB_INSTALL_BINDIR ${ORB_INSTALL_PREFIX}/bin)
set(ORB_INSTALL_LIBDIR ${ORB_INSTALL_PREFIX}/lib)
set(ORB_INSTALL_LABDIR ${ORB_INSTALL_PREFIX}/lib/lab)
set(ORB_INSTALL_LIBEXECDIR ${ORB_INSTALL_PREFIX}/libexec)
set(ORB_INSTALL_HOSTDATADIR ${ORB_INSTALL_PREFIX}/data)
set(ORB_INSTALL_SHAREDIR ${ORB_INSTALL_PREFIX}/share)
set(ORB_INSTALL_SCHEMADIR ${ORB_INSTALL_SHAREDIR}/schemas)
set(ORB_INSTALL_SCENARIODIR ${ORB_INSTALL_SHAREDIR}/scenarios)
set(ORB_INSTALL_CONFDIR /etc/config/vantor/orb)
set(ORB_INSTALL_UNITDIR /lib/systemd/system)
set(ORB_INSTALL_MANDIR /usr/share/man)
set(ORB_INSTALL_COMPLETIONDIR /usr/share/bash-completion/completions)

# Programs find liborb beside them, wherever the tree was put.
set(CMAKE_INSTALL_RPATH "$ORIGIN/../lib")
set(CMAKE_BUILD_RPATH_USE_ORIGIN ON)
