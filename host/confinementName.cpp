#include "host/confinementName.h"

namespace orvel::host {

const char* confinementName(const std::optional<Confinement>& level) {
  if (!level) return nullptr;
  switch (*level) {
    case Confinement::None:
      return "none";
    case Confinement::Process:
      return "process";
    case Confinement::Filter:
      return "filter";
    case Confinement::FilterAndLandlock:
      return "filter+landlock";
  }
  return nullptr;
}

}  // namespace orvel::host
