#pragma once

#include <cstddef>
#include <string>

/// What a caller of a whole transfer gets, and what is logged about it.
struct RMC_CLI_OUTCOME {
    int result;       ///< 0 success, 1 failure
    std::string text; ///< for the error log; empty where there is nothing to say
};

/// Judges a transfer that ran to its end or was refused. Pure.
/// @param argumentBytes  of the argument, without the zero at its end
/// @return an empty text for status 0
std::string rmc_transfer_status_text(unsigned char transferStatus, unsigned char exitStatus,
                                     std::size_t argumentBytes);

/// Names the reason when an exchange failed, by what the last response before it left: the transfer
/// status where that has a meaning here, else the exit status. Pure.
std::string rmc_exchange_failure_text(unsigned char transferStatus, unsigned char exitStatus);

/// The result of a transfer from what RMC_CLI_Exec() returned and stored. Only a failed exchange
/// (0) and a transfer status other than 0 are failures: arguments that were never sent count as
/// success, because nothing was stored. Pure.
RMC_CLI_OUTCOME rmc_cli_outcome(int execResult, unsigned char transferStatus,
                                unsigned char exitStatus, std::size_t argumentBytes);
