#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>

#include "tags/InProcessTagReader.h"
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

class SameResults : public testing::Test {
 protected:
  void expectSame(const std::vector<std::string>& paths) {
    InProcessTagReader inProcess({});
    IsolatedTagReader isolated({}, ORVEL_TAG_READER);
    inProcess.expect(temporary.path(), paths);
    isolated.expect(temporary.path(), paths);
    for (const std::string& path : paths) {
      const TagResult expected = resultOf(inProcess, path);
      const TagResult actual = resultOf(isolated, path);
      EXPECT_EQ(actual.outcome, expected.outcome) << path;
      EXPECT_TRUE(actual.values == expected.values) << path;
    }
    EXPECT_FALSE(isolated.isolationFailed());
  }

  TemporaryFolder temporary;
};

TEST_F(SameResults, OnAStickWithEverything) {
  const fs::path stick = temporary.path("stick");
  stick::makeSampleStick(stick);
  fs::copy(ORVEL_SEEDS, stick / "seeds");
  std::vector<std::string> paths = {temporary.path("missing.mp3"), temporary.folder("folder.mp3")};
  for (const auto& entry : fs::recursive_directory_iterator(stick)) paths.push_back(entry.path());
  EXPECT_GT(paths.size(), 80U);
  expectSame(paths);
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
