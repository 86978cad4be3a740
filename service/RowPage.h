#pragma once

#include <gio/gio.h>

#include <string>
#include <vector>

#include "browse/ListQuery.h"
#include "browse/MediaDatabase.h"

namespace orvel::service {

/// Collects rows as an answer on the bus. Ends a page before it becomes too long for a message.
class RowPage {
 public:
  RowPage();
  ~RowPage();
  RowPage(const RowPage&) = delete;
  RowPage& operator=(const RowPage&) = delete;

  /// Adds a row; its keys are the names of the columns. False when it does not fit any more.
  bool add(const std::vector<browse::Column>& columns, const browse::Row& row,
           const char* kind = nullptr);

  /// The answer (uaa{sv}), for one call of this function; floating.
  GVariant* finish(std::uint32_t total);

 private:
  GVariantBuilder rows;
  std::size_t bytes = 0;
};

}  // namespace orvel::service
