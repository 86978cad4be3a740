#pragma once

#include <pthread.h>

#include <cstddef>

namespace orvel {

/// Starts a thread that the caller joins. Returns 0 or an errno.
/// @param thread      receives the thread
/// @param name        the kernel keeps 15 characters
/// @param stackBytes  see `kStageStackBytes`
int startThread(pthread_t& thread, const char* name, std::size_t stackBytes, void* (*run)(void*),
                void* argument);

}  // namespace orvel
