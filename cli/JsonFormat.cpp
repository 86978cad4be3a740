#include "cli/JsonFormat.h"

#include <QByteArray>
#include <QJsonObject>
#include <utility>

#include "base/Utf8.h"
#include "cli/DisplayText.h"
#include "cli/JsonText.h"

namespace orvel::cli {

namespace {

QJsonValue valueOf(const browse::Cell& cell) {
  if (const auto* text = std::get_if<std::string_view>(&cell)) return jsonString(*text);
  if (const auto* number = std::get_if<std::int64_t>(&cell)) return qint64{*number};
  return {};
}

QString hexOf(std::string_view bytes) {
  return QByteArray(bytes.data(), static_cast<qsizetype>(bytes.size())).toHex();
}

}  // namespace

JsonFormat::JsonFormat(std::vector<browse::Column> wantedColumns, std::ostream& stream)
    : usualColumns(std::move(wantedColumns)), out(stream) {
  out << '[';
}

void JsonFormat::row(const browse::Row& cells) {
  row(usualColumns, cells, nullptr);
}

void JsonFormat::row(const std::vector<browse::Column>& columns, const browse::Row& row,
                     const char* kind) {
  QJsonObject object;
  if (kind != nullptr) object.insert("kind", kind);
  for (std::size_t i = 0; i < columns.size(); ++i) {
    object.insert(columns[i].name, valueOf(row[i]));
    const auto* text = std::get_if<std::string_view>(&row[i]);
    const bool isOwnPath = std::string_view(columns[i].name) == "path";
    if (isOwnPath && text != nullptr && !utf8::isValid(*text)) {
      object.insert("path_hex", hexOf(*text));
    }
  }
  out << (isFirst ? "\n" : ",\n") << jsonLine(object);
  isFirst = false;
}

void JsonFormat::end() {
  out << (isFirst ? "]\n" : "\n]\n");
}

}  // namespace orvel::cli
