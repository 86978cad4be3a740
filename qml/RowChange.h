#pragma once

#include <functional>
#include <vector>

#include "qml/MediaRow.h"

namespace orvel::qml {

/// One step that leads from a list to a newer one.
struct RowChange {
  enum class Kind { Insert, Remove, Move, Update };

  Kind kind = Kind::Insert;
  int first = 0;
  int count = 0;
  int to = 0;      ///< Move: the place in the list without the moved row
  MediaRows rows;  ///< Insert, Update: the new rows

  /// Takes the step.
  void applyTo(MediaRows& list) const;
};

/// Receives the steps in the order in which they must be taken.
using ChangeReceiver = std::function<void(RowChange&&)>;

/// Finds the steps from `before` to `after`, whose keys are unique each. Rows that are in both and
/// keep their order are not touched, except for updates, so that a view of them stays where it is.
/// Takes n log n steps for n rows; any thread.
void findChanges(const MediaRows& before, const MediaRows& after, const ChangeReceiver& receive);

}  // namespace orvel::qml
