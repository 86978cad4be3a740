#include "cli/TableFormat.h"

#include <gtest/gtest.h>

#include <clocale>
#include <sstream>

namespace orvel::cli {
namespace {

std::string tableOf(const std::vector<browse::Row>& rows, std::size_t width) {
  std::ostringstream out;
  TableFormat table({{"path", browse::Column::Kind::Path},
                     {"title", browse::Column::Kind::Text},
                     {"disc", browse::Column::Kind::Number}},
                    out, width);
  for (const browse::Row& row : rows) table.row(row);
  table.end();
  return out.str();
}

TEST(TableFormat, AlignsColumnsByWhatATerminalShows) {
  std::setlocale(LC_ALL, "C.UTF-8");
  EXPECT_EQ(tableOf({{"/a", "夜明け", std::int64_t{1}}, {"/b\n", {}, std::int64_t{12}}}, 0),
            "PATH  TITLE   DISC\n"
            "/a    夜明け     1\n"
            "/b\\n            12\n");
}

TEST(TableFormat, ShortensTheWidestToFitTheTerminal) {
  std::setlocale(LC_ALL, "C.UTF-8");
  const std::string table =
      tableOf({{"/media/usb/Music/Artist/Album/song.mp3", "A title of some length", {}}}, 32);
  EXPECT_EQ(table,
            "PATH          TITLE         DISC\n"
            "…um/song.mp3  A title of …\n");
}

}  // namespace
}  // namespace orvel::cli
