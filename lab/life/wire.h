#pragma once

#include <cstdint>

/// What goes between the daemon's life and the world. Each opened IPMI device is a connection of
/// its own, whose world end travels over the life's control socket as a descriptor. Both ends are
/// one program, so records cross as they lie in memory; one packet holds one record.
struct WIRE_REQUEST {
    std::int64_t messageId;
    std::int32_t addressType;
    std::uint32_t addressLength;
    std::int16_t channel;
    std::uint16_t dataLength;
    std::uint8_t lun, netfn, cmd;
    std::uint8_t data[255];
};

struct WIRE_ANSWER {
    std::int64_t messageId;
    std::uint16_t length; ///< of `data`, completion code included
    std::uint8_t netfn, cmd;
    std::uint8_t data[272];
};

/// Makes a pair of connected packet sockets, both close-on-exec. @return false with errno
bool make_wire(int ends[2]);
/// Hands a descriptor over; the sender's own copy stays open. @return false with errno
bool send_descriptor(int socket, int fd);
/// @return the descriptor handed over; -1 where none is waiting, -2 where the other end is gone
int receive_descriptor(int socket);
