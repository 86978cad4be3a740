#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <thread>

#include "tags/InProcessTagReader.h"
#include "tags/TagReaderPool.h"
#include "tags/isolation/IsolatedTagReader.h"
#include "tests/endtoend/Song.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/support/contentOf.h"
#include "tools/stick/SampleStick.h"

namespace orvel::test {
namespace {

namespace fs = std::filesystem;

/// The result, or one with the exception for its title.
TagResult resultOf(TagReader& reader, const std::string& path) {
  TagResult read;
  try {
    read = reader.next(path);
  } catch (const std::exception& error) {
    read.values.title = error.what();
  }
  return read;
}

/// Results of all files in the order of `paths`, read from the `first` on.
std::vector<TagResult> resultsOf(const std::string& mountPoint, std::vector<std::string> paths,
                                 std::size_t first, ReadingGoal goal) {
  const auto begin = static_cast<std::ptrdiff_t>(first);
  std::rotate(paths.begin(), paths.begin() + begin, paths.end());
  InProcessTagReader reader({}, goal);
  reader.expect(mountPoint, paths);
  std::vector<TagResult> results;
  for (const std::string& path : paths) results.push_back(resultOf(reader, path));
  std::rotate(results.begin(), results.end() - begin, results.end());
  return results;
}

class SameResults : public testing::Test {
 protected:
  void expectSame(std::vector<std::string> paths) {
    // Enough for the threads of a pool.
    while (paths.size() < 400) paths.insert(paths.end(), paths.begin(), paths.end());
    InProcessTagReader inProcess({});
    IsolatedTagReader isolated({}, ORVEL_TAG_READER);
    TagReaderPool::Readers readers;
    while (readers.size() < 3)
      readers.push_back(std::make_unique<InProcessTagReader>(std::stop_token()));
    TagReaderPool threads(std::move(readers));
    const std::array<TagReader*, 2> others{&isolated, &threads};
    inProcess.expect(temporary.path(), paths);
    for (TagReader* reader : others) reader->expect(temporary.path(), paths);
    for (const std::string& path : paths) {
      const TagResult expected = resultOf(inProcess, path);
      for (TagReader* reader : others) {
        const TagResult actual = resultOf(*reader, path);
        EXPECT_EQ(actual.outcome, expected.outcome) << path;
        EXPECT_TRUE(actual.values == expected.values) << path;
      }
    }
    EXPECT_FALSE(isolated.isolationFailed());
  }

  /// Writes songs of all containers, damaged ones, and what is no song.
  void makeStick() const {
    const fs::path stick = temporary.folder("folder.mp3");
    stick::makeSampleStick(stick);
    fs::copy(ORVEL_SEEDS, stick / "seeds");
    if (const char* more = std::getenv("ORVEL_MORE_SONGS")) fs::copy(more, stick / "more");
  }

  [[nodiscard]] std::vector<std::string> filesOfStick() const {
    std::vector<std::string> paths = {temporary.path("missing.mp3")};
    for (const auto& entry : fs::recursive_directory_iterator(temporary.path())) {
      paths.push_back(entry.path());
    }
    EXPECT_GT(paths.size(), 80U);
    return paths;
  }

  TemporaryFolder temporary;
};

/// The first test: nothing was read before, so that the threads meet at each first use.
/// `./dev test-taglib` has the parser instrumented, too.
TEST_F(SameResults, InThreadsThatReadAtTheSameTime) {
  // Another process writes the songs, because that needs the parser's library, too.
  EXPECT_EXIT((makeStick(), std::exit(0)), testing::ExitedWithCode(0), "");
  const std::vector<std::string> paths = filesOfStick();
  constexpr std::size_t kThreads = 4;
  for (const ReadingGoal goal : {ReadingGoal::Tags, ReadingGoal::Picture}) {
    std::array<std::vector<TagResult>, kThreads> results;
    {
      std::vector<std::jthread> threads;
      for (std::size_t i = 0; i < kThreads; ++i) {
        threads.emplace_back([&, i] {
          results[i] = resultsOf(temporary.path(), paths, paths.size() * i / kThreads, goal);
        });
      }
    }
    const std::vector<TagResult> expected = resultsOf(temporary.path(), paths, 0, goal);
    for (const auto& ofThread : results) {
      for (std::size_t i = 0; i < paths.size(); ++i) {
        EXPECT_EQ(ofThread[i].outcome, expected[i].outcome) << paths[i];
        EXPECT_TRUE(ofThread[i].values == expected[i].values) << paths[i];
        EXPECT_EQ(ofThread[i].picture.bytes, expected[i].picture.bytes) << paths[i];
      }
    }
  }
}

TEST_F(SameResults, OnAStickWithEverything) {
  makeStick();
  expectSame(filesOfStick());
}

TEST_F(SameResults, OnFilesThatAreDamagedAtRandom) {
  const unsigned seed = std::random_device()();
  SCOPED_TRACE("seed " + std::to_string(seed));
  std::mt19937 random(seed);
  std::vector<std::string> paths;
  for (const char* extension : {".mp3", ".m4a", ".flac", ".wma", ".wav"}) {
    const std::string good = temporary.path(std::string("good") + extension);
    writeSong(good, {"Title", "Künstler", "アルバム"});
    const std::string content = contentOf(good);
    for (int i = 0; i < 40; ++i) {
      std::string damaged = content;
      for (int change = 0; change < 8; ++change) {
        damaged.at(random() % std::min<std::size_t>(damaged.size(), 2000)) =
            static_cast<char>(random());
      }
      if (i % 4 == 0) damaged.resize(random() % damaged.size());
      paths.push_back(temporary.file(std::to_string(i) + extension, damaged));
    }
  }
  expectSame(paths);
}

TEST_F(SameResults, ForNoOtherFileThanTheOneThatIsNext) {
  std::vector<std::string> paths;
  for (const char* name : {"a.mp3", "b.mp3"}) {
    paths.push_back(temporary.path(name));
    writeSong(paths.back(), {name, "X"});
  }
  InProcessTagReader inProcess({});
  IsolatedTagReader isolated({}, ORVEL_TAG_READER);
  for (TagReader* reader : std::initializer_list<TagReader*>{&inProcess, &isolated}) {
    reader->expect(temporary.path(), paths);
    const auto expectRefusal = [&](const std::string& path) {
      EXPECT_DEBUG_DEATH(EXPECT_EQ(reader->next(path).outcome, TagResult::Outcome::ReaderLost),
                         "out of order");
    };
    expectRefusal(paths[1]);
    for (const std::string& path : paths) {
      EXPECT_EQ(reader->next(path).values.title.to8Bit(true), fs::path(path).filename());
    }
    expectRefusal(paths[1]);
  }
}

}  // namespace
}  // namespace orvel::test
