#pragma once

#include <string>

/// The running program's file, links resolved; "" where it can't be told.
std::string own_program();

/// Appends the host commands that came with a program, `../libexec` beside its folder, to the end
/// of PATH, so that the host's own win. Nothing happens where they aren't there. Call before other
/// threads run.
void append_commands_to_path(const std::string &program);
