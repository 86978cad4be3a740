#include "cli/ListFormat.h"

#include "cli/JsonFormat.h"
#include "cli/TableFormat.h"
#include "cli/TsvFormat.h"

namespace orvel::cli {

std::unique_ptr<ListFormat> ListFormat::make(Kind kind, const std::vector<browse::Column>& columns,
                                             std::ostream& out, std::size_t width) {
  switch (kind) {
    case Kind::Tsv:
      return std::make_unique<TsvFormat>(columns, out);
    case Kind::Json:
      return std::make_unique<JsonFormat>(columns, out);
    case Kind::Table:
      break;
  }
  return std::make_unique<TableFormat>(columns, out, width);
}

const std::map<std::string, ListFormat::Kind>& listFormats() {
  static const std::map<std::string, ListFormat::Kind> formats = {
      {"table", ListFormat::Kind::Table},
      {"tsv", ListFormat::Kind::Tsv},
      {"json", ListFormat::Kind::Json}};
  return formats;
}

}  // namespace orvel::cli
