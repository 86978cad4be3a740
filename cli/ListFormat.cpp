#include "cli/ListFormat.h"

#include "cli/JsonFormat.h"
#include "cli/TableFormat.h"
#include "cli/TsvFormat.h"

namespace orvel::cli {

std::unique_ptr<ListFormat> ListFormat::make(ListOptions::Format format,
                                             const std::vector<browse::Column>& columns,
                                             std::ostream& out, std::size_t width) {
  switch (format) {
    case ListOptions::Format::Tsv:
      return std::make_unique<TsvFormat>(columns, out);
    case ListOptions::Format::Json:
      return std::make_unique<JsonFormat>(columns, out);
    case ListOptions::Format::Table:
      break;
  }
  return std::make_unique<TableFormat>(columns, out, width);
}

}  // namespace orvel::cli
