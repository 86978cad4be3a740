#pragma once

#include <functional>
#include <optional>
#include <string>

#include "browse/ListQuery.h"
#include "qml/MediaRow.h"

namespace orvel::qml {

/// Selects the rows of a list.
struct MediaQuery {
  std::string database;
  browse::ListQuery list;
  std::optional<std::string> parent;  ///< of folders: the path of the folder that they lie in
  std::string words;                  ///< finds these instead of listing

  bool operator==(const MediaQuery& other) const;
};

/// Reads all rows in the order in which screens show them: an album by disc and track, a playlist
/// in its own order, finds in theirs; everything else by first letter, then by the exported
/// collation, things without a name and those of hidden folders last. Asian texts sort by their
/// reading. Throws browse::DatabaseError. Takes time: not for the thread of a screen.
/// @param isCanceled  asked now and then; true ends the reading with an incomplete result
MediaRows readMedia(const MediaQuery& query, const std::function<bool()>& isCanceled);

}  // namespace orvel::qml
