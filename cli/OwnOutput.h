#pragma once

#include <cstddef>
#include <string>

namespace orvel::cli {

/// The descriptor of standard error for the command's own texts.
int errorDescriptor();

/// The width of the terminal that standard output leads to; 0 where it leads elsewhere.
std::size_t outputColumns();

/// Flushes standard output. Throws CommandError when it could not be written.
void finishOutput();

/// Prints an error of the command, which ends the command or the work on a device.
void printError(const std::string& text);

/// Keeps libmtp's printing out of the output. libmtp prints lines about each device to standard
/// output and complaints to standard error. From now on descriptors 1 and 2 lead nowhere, or both
/// to standard error if `isShown`; std::cout, std::cerr and `errorDescriptor` still reach the
/// original ones. Call it once, before other threads run.
void divertLibmtp(bool isShown);

}  // namespace orvel::cli
