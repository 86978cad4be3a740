#pragma once

/// Marks a symbol that `liborvel.so` offers to its hosts; the others stay hidden.
#define ORVEL_EXPORT __attribute__((visibility("default")))
