#include "service/Configuration.h"

#include <gtest/gtest.h>

#include <regex>

#include "tests/support/TemporaryFolder.h"
#include "tests/support/contentOf.h"

namespace orvel::service {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

class ConfigurationTest : public testing::Test {
 protected:
  ConfigurationReading read(const std::string& text) const {
    return readConfiguration(folder.file("orveld.conf", text));
  }

  /// The text of the problem that `text` has, without the file's name.
  std::string problem(const std::string& text) const {
    const auto problems = read(text).problems;
    const std::string file = folder.path("orveld.conf") + ":";
    EXPECT_EQ(problems.size(), 1U) << text;
    return problems.empty() || problems[0].rfind(file, 0) != 0 ? ""
                                                               : problems[0].substr(file.size());
  }

  test::TemporaryFolder folder;
};

TEST_F(ConfigurationTest, TheInstalledFileNamesEveryKeyWithItsDefault) {
  const std::string installed = test::contentOf(ORVEL_SERVICE_CONFIGURATION);
  const std::regex comment("\n#([a-z-]+=[^\n])");
  const auto [configuration, problems] = read(std::regex_replace(installed, comment, "\n$1"));
  EXPECT_THAT(problems, ElementsAre());
  const Configuration defaults;
  EXPECT_TRUE(configuration.autoIndex && configuration.phones);
  EXPECT_FALSE(configuration.media.mountMedia || configuration.media.internalDisks);
  EXPECT_EQ(configuration.media.roots, defaults.media.roots);
  EXPECT_EQ(configuration.settings.tagReading, defaults.settings.tagReading);
  EXPECT_EQ(configuration.settings.workPriority, defaults.settings.workPriority);
  EXPECT_EQ(configuration.settings.logThreshold, defaults.settings.logThreshold);
  EXPECT_EQ(configuration.settings.limits.songs, defaults.settings.limits.songs);
  EXPECT_EQ(configuration.settings.limits.folders, defaults.settings.limits.folders);
  EXPECT_EQ(configuration.settings.limits.databaseBytes, defaults.settings.limits.databaseBytes);
  for (const char* key : {"#types=\n", "#exclude=\n", "#idle-exit-seconds=\n"}) {
    EXPECT_THAT(installed, HasSubstr(key));
  }
}

TEST_F(ConfigurationTest, ReadsWhatDiffersFromTheDefaults) {
  const auto [configuration, problems] = read(
      "[devices]\nauto-index=no\nphones=no \nmount=yes\ninternal-disks=yes\nroots=/a/; /b c ;\n"
      "types=cifs\nexclude=2A4B-*;/a/"
      "x\n[indexing]\nregion=china\nisolation=required\nbackground=no\n"
      "songs=7\nfolders=8\ndatabase-bytes=9\n[service]\ndatabase-directory=/d/"
      "\nlog=debug\nlog-to=dlt\n"
      "idle-exit-seconds=60\n");
  EXPECT_THAT(problems, ElementsAre());
  EXPECT_FALSE(configuration.autoIndex || configuration.phones);
  EXPECT_TRUE(configuration.media.mountMedia && configuration.media.internalDisks);
  EXPECT_THAT(configuration.media.roots, ElementsAre("/a", "/b c"));
  EXPECT_THAT(configuration.media.types, ElementsAre("cifs"));
  EXPECT_THAT(configuration.media.exclude, ElementsAre("2A4B-*", "/a/x"));
  const Settings& settings = configuration.settings;
  EXPECT_EQ(settings.textRegion, TextRegion::China);
  EXPECT_EQ(settings.tagReading, TagReading::IsolationRequired);
  EXPECT_EQ(settings.workPriority, WorkPriority::Normal);
  EXPECT_EQ(settings.limits.songs, 7U);
  EXPECT_EQ(settings.limits.folders, 8U);
  EXPECT_EQ(settings.limits.databaseBytes, 9);
  EXPECT_EQ(settings.databaseDirectory, "/d");
  EXPECT_EQ(settings.logThreshold, LogLevel::Debug);
  EXPECT_EQ(settings.dltApplicationId, "ORVD");
  EXPECT_EQ(configuration.idleExit, std::chrono::seconds(60));
}

TEST_F(ConfigurationTest, TellsEachFaultWithItsLineAndKeepsTheRest) {
  for (const auto& [text, told] : std::map<std::string, std::string>{
           {"[devices]\nphones=maybe\n", "2: phones: 'maybe' is none of no, yes."},
           {"\n[devices]\n\nroots=media\n", "4: roots: 'media' is no absolute path."},
           {"[devices]\nroots=/\n", "2: roots: '/' holds the system."},
           {"[devices]\nphone=no\n",
            "2: The group [devices] has no key phone. Use one of auto-index,"},
           {"[device]\nphones=no\n", "1: There is no group [device]. Use one of devices,"},
           {"[indexing]\nregion=utopia\n", "2: region: 'utopia' is none of arabia,"},
           {"[indexing]\nsongs=0\n", "2: songs: '0' is no number from 1 to 4294967295."},
           {"[indexing]\n songs = 4294967296\n", "2: songs: '4294967296' is no number"},
           {"[indexing]\nsongs=5x\n", "2: songs: '5x' is no number"},
           {"[service]\ndatabase-directory=\xff\n", "2: database-directory: "},
           {"[service]\n# note\nlog\n", "3: "},
           {"phones=no\n", "1: "}}) {
    EXPECT_THAT(problem(text), testing::StartsWith(told));
    EXPECT_THAT(problem(text), HasSubstr("."));
  }
  const auto reading = read("[devices]\nmount=yes\nphones=maybe\nroots=x\n");
  EXPECT_TRUE(reading.configuration.media.mountMedia && reading.configuration.phones);
  EXPECT_EQ(reading.problems.size(), 2U);
  EXPECT_THAT(readConfiguration(folder.path("absent")).problems,
              ElementsAre(HasSubstr("No such file or directory. All defaults apply.")));
}

}  // namespace
}  // namespace orvel::service
