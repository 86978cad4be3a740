#pragma once

#include <set>
#include <string>

#include "browse/Pages.h"

namespace orvel::browse {

/// Receives a row that was found; the columns are those of its kind's listing. False ends the page.
using HitReceiver =
    std::function<bool(const char* kind, const std::vector<Column>& columns, const Row& row)>;

/// Finds everything of `kinds` that has all `words`, as `Search` does, the best first; the page
/// counts through all of them, and its sort is passed over. Returns the number of all results.
std::uint32_t search(const MediaDatabase& database, const std::string& words,
                     const std::set<ListKind>& kinds, const PageRequest& page,
                     const HitReceiver& receive);

}  // namespace orvel::browse
