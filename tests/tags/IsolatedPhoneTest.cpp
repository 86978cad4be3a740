#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>
#include <iterator>

#include "mtp/MtpCrawler.h"
#include "mtp/MtpMiner.h"
#include "tags/InProcessTagReader.h"
#include "tags/isolation/IsolatedTagReader.h"
#include "tests/endtoend/Song.h"
#include "tests/msd/CatchingSink.h"
#include "tests/support/DatabaseFolderFixture.h"
#include "tests/support/LogCapture.h"
#include "tests/support/ScriptedPhone.h"

namespace orvel::test {
namespace {

using std::chrono::milliseconds;
using testing::ElementsAre;
using testing::SizeIs;

std::string contentOf(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(in), {}};
}

constexpr char kMountPoint[] = "mtp-folder://phone1";

/// A phone that tells no tags: they are read from the tracks' own bytes.
class IsolatedPhone : public DatabaseFolderFixture {
 protected:
  static TagReaderFactory isolated(milliseconds timeLimit) {
    return [=](std::stop_token token) {
      return std::make_unique<IsolatedTagReader>(std::move(token), ORVEL_HOSTILE_TAG_READER,
                                                 timeLimit);
    };
  }
  static TagReaderFactory inProcess() {
    return [](std::stop_token token) {
      return std::make_unique<InProcessTagReader>(std::move(token));
    };
  }

  void addTrack(const std::string& path, const std::string& content) {
    phone.device.addTrack(path).content = content;
    tracks.push_back(path);
  }

  std::string song(const std::string& extension) const {
    const std::string path = temporary.path("song" + extension);
    writeSong(path, {"Title " + extension, "Künstler", "アルバム"});
    return contentOf(path);
  }

  /// Has the phone listed, as a request does before it reads tags.
  void plugIn() {
    const Readiness readiness(phone.plugIn());
    CatchingSink<Block<FileInfo*>> playlists;
    CatchingSink<Block<MtpDirectory*>> directories;
    MtpCrawler crawler("MtpCrawler");
    crawler.playlistSink = &playlists;
    crawler.directorySink = &directories;
    crawler.start();
    const auto root = boost::make_shared<Block<Directory*>>(operation());
    root->add(std::make_unique<Directory>(kMountPoint, kMountPoint, -1));
    crawler.doOperation(root);
  }

  /// Texts and track number of every record.
  std::vector<std::string> mine(const TagReaderFactory& factory) {
    const auto block = boost::make_shared<Block<FileInfo*>>(operation());
    for (const auto& path : tracks) {
      block->add(std::make_unique<FileInfo>(path, phone.idOf(path), 0));
    }
    MtpMiner miner("MtpMiner", factory);
    const auto mined = miner.doOperation(block);
    std::vector<std::string> songs;
    for (const MetaDataInfo* song : mined->items) {
      songs.push_back(song->name + "|" + song->title + "|" + song->artist + "|" + song->album +
                      "|" + song->genre + "|" + std::to_string(song->trackNumber));
    }
    return songs;
  }

  Operation operation() const { return {5, phone.handle, "phone1", kMountPoint, true}; }

  LogCapture log;
  ScriptedPhone phone;
  std::vector<std::string> tracks;
};

TEST_F(IsolatedPhone, GivesWhatIsReadInProcess) {
  for (const char* extension : {".mp3", ".m4a", ".flac", ".wma", ".wav"}) {
    const std::string content = song(extension);
    addTrack(std::string("/Music/whole") + extension, content);
    addTrack(std::string("/Music/cut") + extension, content.substr(0, content.size() / 3));
    addTrack(std::string("/Music/empty") + extension, "");
  }
  std::string large = song(".mp3");
  large.insert(10, std::string(200000, '\0'));
  addTrack("/Music/large.mp3", large);
  auto& fault = phone.device.addFault("readBytes", scripted::Fault::Effect::Answer);
  fault.path = "/Music/whole.wav";
  fault.times = scripted::kForEver;
  plugIn();
  const auto expected = mine(inProcess());
  ASSERT_THAT(expected, SizeIs(16));
  EXPECT_THAT(expected[0], testing::StartsWith("whole.mp3|Title .mp3|Künstler|アルバム|"));
  EXPECT_EQ(mine(isolated(milliseconds(60000))), expected);
}

TEST_F(IsolatedPhone, ATrackThatEndsTheReaderCostsItself) {
  for (const char* deed : {"crash", "hang", "ask", "deaf"}) {
    addTrack(std::string("/Music/before ") + deed + ".mp3", song(".mp3"));
    addTrack(std::string("/Music/") + deed + ".mp3", std::string("!") + deed + ".");
  }
  addTrack("/Music/last.mp3", song(".mp3"));
  plugIn();
  const auto songs = mine(isolated(milliseconds(1500)));
  ASSERT_THAT(songs, SizeIs(9));
  for (const std::size_t good : {0U, 2U, 4U, 6U, 8U}) {
    EXPECT_NE(songs[good].find("|Title .mp3|"), std::string::npos) << songs[good];
  }
  EXPECT_THAT(log.texts("tag reader"), SizeIs(4));
}

}  // namespace
}  // namespace orvel::test
