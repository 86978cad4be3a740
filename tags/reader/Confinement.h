#pragma once

#include "tags/TagMessages.h"

namespace orvel {

/// Binds this process to its parent's life and leaves it nothing but reading files that it is
/// handed: limits of memory, processor time, files and descriptors, no new privileges, no file by
/// name, no other system call. Returns what the kernel did not refuse.
tagMessages::Confinement confineProcess();

}  // namespace orvel
