#pragma once

/// Sorts the RMC's event numbers by the part of the daemon that raises them.
/// @return 1 the daemon itself, 2 host, 3 network, 4 Fibre Channel, 5 storage; -1 for a number that
///         is not one of the daemon's events
int getEventType(int id);
