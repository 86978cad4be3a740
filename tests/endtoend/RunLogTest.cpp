#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <iterator>
#include <numeric>
#include <regex>

#include "tests/endtoend/IndexerHost.h"
#include "tests/endtoend/Song.h"
#include "tests/support/LogCapture.h"

namespace orvel::test {
namespace {

/// The log of one run: level and text of every line, sorted since the stages' threads interleave
/// freely, with masks for the parts that differ from run to run.
class RunLogTest : public IndexerHost {
 protected:
  std::string masked(const LogCapture& log) const {
    const std::pair<std::regex, const char*> masks[] = {
        {std::regex(stick), "MOUNT"},
        {std::regex(temporary.path()), "TEMPORARY"},
        {std::regex("((timer|saver): |took )[0-9]+"), "$1#"},
        {std::regex("\\b(stop|pipe:?|pipeline:|for|on|Erasing) [0-9a-f]{1,8}\\b"), "$1 #"},
        // How many of the three results wait at once depends on the threads.
        {std::regex("MSDPipeline [0-3] "), "MSDPipeline # "},
    };
    std::vector<std::string> lines;
    for (const LogCapture::Line& line : log.lines()) {
      std::string text = line.text;
      for (const auto& [pattern, mask] : masks) text = std::regex_replace(text, pattern, mask);
      lines.push_back(std::to_string(static_cast<int>(line.level)) + " " + text + "\n");
    }
    std::sort(lines.begin(), lines.end());
    return std::accumulate(lines.begin(), lines.end(), std::string());
  }
};

TEST_F(RunLogTest, AWholeRunSaysWhatItDoes) {
  writeSong(stick + "/A/s.mp3", {"T", "X"});
  temporary.file("stick/A/junk.flac", "junk");
  temporary.file("stick/p.m3u", "A/s.mp3\n");
  const LogCapture log;
  index("dev1", stick);
  controller->stop();
  controller->join();
  std::ifstream expected(ORVEL_RUN_LOG);
  EXPECT_EQ(masked(log), std::string(std::istreambuf_iterator<char>(expected), {}));
}

}  // namespace
}  // namespace orvel::test
