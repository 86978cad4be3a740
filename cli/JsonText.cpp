#include "cli/JsonText.h"

#include <QJsonDocument>

#include "cli/DisplayText.h"

namespace orvel::cli {

QString jsonString(std::string_view bytes) {
  return QString::fromUtf8(bytes.data(), static_cast<qsizetype>(bytes.size()));
}

std::string jsonLine(const QJsonObject& object) {
  // Remaining control characters are inside strings, where displayText's escapes are valid JSON.
  return displayText(QJsonDocument(object).toJson(QJsonDocument::Compact).toStdString());
}

QJsonValue jsonTextOrNull(const std::string& text) {
  return text.empty() ? QJsonValue() : QJsonValue(jsonString(text));
}

}  // namespace orvel::cli
