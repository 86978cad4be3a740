#pragma once

/// Marks what `liborvel.so` offers to its hosts; everything else stays hidden.
#define ORVEL_EXPORT __attribute__((visibility("default")))
