#pragma once

#include <orvel/Settings.h>

namespace orvel {

/// The limits that the host chose. Any thread.
[[nodiscard]] Limits limits() noexcept;

/// Replaces the limits for requests that are made from now on.
void setLimits(const Limits& chosen) noexcept;

}  // namespace orvel
