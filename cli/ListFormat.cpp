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

}  // namespace orvel::cli
