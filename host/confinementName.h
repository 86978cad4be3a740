#pragma once

#include <orvel/ProgressSnapshot.h>

#include <optional>

namespace orvel::host {

/// The confinement's name in reports: "none", "process", "filter" or "filter+landlock"; null when
/// nothing was parsed.
const char* confinementName(const std::optional<Confinement>& level);

}  // namespace orvel::host
