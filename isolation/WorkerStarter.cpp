#include "isolation/WorkerStarter.h"

#include <algorithm>
#include <cerrno>
#include <initializer_list>

namespace orvel {

Confinement WorkerStarter::confinement() const {
  if (layers.filterError != 0) return Confinement::Process;
  return layers.landlockError != 0 ? Confinement::Filter : Confinement::FilterAndLandlock;
}

std::string WorkerStarter::missingLayers() const {
  const auto describe = [](int error) { return std::generic_category().message(error); };
  std::string text;
  if (layers.filterError != 0) text = "no filter of system calls: " + describe(layers.filterError);
  if (layers.landlockError == 0) return text;
  return text + (text.empty() ? "" : "; ") + "no Landlock: " + describe(layers.landlockError);
}

/// True for enough layers of confinement: where all are needed, those that the kernel offers.
bool WorkerStarter::suffices() const {
  const auto isOneOf = [](int error, std::initializer_list<int> expected) {
    return std::find(expected.begin(), expected.end(), error) != expected.end();
  };
  return !needsEveryLayer || (isOneOf(layers.filterError, {0, ENOSYS, EINVAL}) &&
                              isOneOf(layers.landlockError, {0, ENOSYS, EOPNOTSUPP}));
}

}  // namespace orvel
