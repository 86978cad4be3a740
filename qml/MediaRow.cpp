#include "qml/MediaRow.h"

#include <algorithm>

namespace orvel::qml {

QVariant MediaRow::value(Role role) const {
  if (role == Role::Label) return label;
  if (role == Role::Letter) return letter;
  const auto found = std::find_if(values.begin(), values.end(),
                                  [role](const auto& value) { return value.first == role; });
  return found == values.end() ? QVariant() : found->second;
}

}  // namespace orvel::qml
