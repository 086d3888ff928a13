#pragma once

/// The whole of `orbd`. Seams that are in force when it is called stay so: files are looked up
/// through their mapping, calls pass through them. One life per process.
/// @return the exit status of the program (exit_status.h). An end that can't wait for running
///         threads does not return; it goes through the process seam
int orb_main(int argc, char **argv);
