#pragma once

#include <QJsonObject>
#include <optional>

#include "cli/IndexResult.h"

namespace orvel::cli {

/// The result as an object, for programs.
QJsonObject jsonReport(const IndexResult& result);

/// The counts of a database as an object; null for none.
QJsonValue jsonTotals(const std::optional<browse::Totals>& totals);

}  // namespace orvel::cli
