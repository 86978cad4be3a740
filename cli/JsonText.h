#pragma once

#include <QJsonObject>
#include <QString>
#include <string>
#include <string_view>
#include <vector>

namespace orvel::cli {

/// A text from a device as a JSON value; ill-formed UTF-8 becomes U+FFFD.
QString jsonString(std::string_view bytes);

/// An object on one line, without line end. Control characters are escaped, also those that JSON
/// lets through, so that it can be shown on a terminal.
std::string jsonLine(const QJsonObject& object);

/// An array of objects that are lines of `jsonLine`, on one line, too.
std::string jsonArray(const std::vector<std::string>& lines);

}  // namespace orvel::cli
