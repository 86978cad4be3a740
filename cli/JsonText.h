#pragma once

#include <QJsonObject>
#include <QString>
#include <string>
#include <string_view>
#include <vector>

namespace orvel::cli {

/// Converts a text from a device; ill-formed UTF-8 becomes U+FFFD.
QString jsonString(std::string_view bytes);

/// Formats an object on one line, without line end. Escapes all control characters, even those that
/// JSON allows, so that the line is safe to show on a terminal.
std::string jsonLine(const QJsonObject& object);

/// null for an empty text.
QJsonValue jsonTextOrNull(const std::string& text);

/// Formats an array on one line, as `jsonLine` does, with the object that `objectOf` makes of each
/// item.
template <class Item, class ObjectOf>
std::string jsonArray(const std::vector<Item>& items, ObjectOf objectOf) {
  std::string lines;
  for (const Item& item : items) lines += (lines.empty() ? "" : ",") + jsonLine(objectOf(item));
  return "[" + lines + "]";
}

}  // namespace orvel::cli
