#include "bench/text/TrackSet.h"

#include <fstream>
#include <sstream>
#include <stdexcept>

namespace orvel {
namespace {

std::vector<std::string> columnsOf(const std::string& line) {
  std::vector<std::string> columns(1);
  for (const char c : line) {
    if (c == '\t') {
      columns.emplace_back();
    } else {
      columns.back() += c;
    }
  }
  return columns;
}

/// Joins the five columns from `first` with tabs; those from number `count` on are empty.
std::string joined(const std::vector<std::string>& columns, size_t first, size_t count) {
  std::string texts;
  for (size_t i = 0; i < 5; ++i) {
    if (i > 0) texts += '\t';
    if (i < count) texts += columns[first + i];
  }
  return texts;
}

}  // namespace

std::vector<KnownTrack> readTrackSet(const std::string& path, size_t textCount) {
  std::ifstream file(path);
  std::string line;
  if (!std::getline(file, line)) throw std::runtime_error("cannot read " + path);
  std::vector<KnownTrack> tracks;
  while (std::getline(file, line)) {
    const std::vector<std::string> columns = columnsOf(line);
    if (columns.size() != 13) throw std::runtime_error("not a track: " + line);
    tracks.push_back({columns[0], columns[1], columns[2], joined(columns, 3, textCount),
                      joined(columns, 8, textCount)});
  }
  return tracks;
}

}  // namespace orvel
