#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>
#include <iterator>

#include "mtp/MtpConnection.h"
#include "mtp/MtpDevice.h"
#include "mtp/MtpMiner.h"
#include "tags/InProcessTagReader.h"
#include "tags/isolation/IsolatedTagReader.h"
#include "tests/endtoend/Song.h"
#include "tests/support/DatabaseFolderFixture.h"
#include "tests/support/LogCapture.h"
#include "tests/support/ScriptedPhone.h"

namespace orvel::test {
namespace {

using std::chrono::milliseconds;
using testing::HasSubstr;
using testing::SizeIs;

/// A phone that tells no tags: they are read from the tracks' own bytes.
class IsolatedPhone : public DatabaseFolderFixture {
 protected:
  static TagReaderFactory isolated(milliseconds timeLimit) {
    return [=](std::stop_token token) {
      return std::make_unique<IsolatedTagReader>(std::move(token), ORVEL_HOSTILE_TAG_READER,
                                                 timeLimit);
    };
  }
  static std::unique_ptr<TagReader> inProcess(std::stop_token token) {
    return std::make_unique<InProcessTagReader>(std::move(token));
  }

  void addTrack(const std::string& path, const std::string& content) {
    phone.device.addTrack(path).content = content;
    tracks.push_back(path);
  }

  std::string song(const std::string& extension) const {
    const std::string path = temporary.path("song" + extension);
    writeSong(path, {"Title " + extension, "Künstler", "アルバム"});
    std::ifstream in(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), {}};
  }

  void plugInAndWalk() {
    MtpDevice::instance().setDeviceConnected(phone.plugIn());
    const std::string deviceId = "phone1";
    ASSERT_TRUE(MtpConnection(phone.handle, deviceId).crawlMtpDevice());
  }

  /// Texts and track number of every record.
  std::vector<std::string> mine(const TagReaderFactory& factory) {
    const Operation operation(5, phone.handle, "phone1", "mtp-folder://phone1", true);
    const auto block = boost::make_shared<Block<FileInfo*>>(operation);
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

  LogCapture log;
  ScriptedPhone phone;
  std::vector<std::string> tracks;
};

TEST_F(IsolatedPhone, GivesTheSameTagsAsInProcess) {
  for (const char* extension : {".mp3", ".m4a", ".flac", ".wma", ".wav"}) {
    const std::string content = song(extension);
    addTrack(std::string("/Music/whole") + extension, content);
    addTrack(std::string("/Music/cut") + extension, content.substr(0, content.size() / 3));
    addTrack(std::string("/Music/empty") + extension, "");
  }
  addTrack("/Music/large.mp3", song(".mp3").insert(10, std::string(200000, '\0')));
  phone.device.addFault(
      {.at = "readBytes", .path = "/Music/whole.wav", .times = scripted::kForEver});
  plugInAndWalk();
  const auto expected = mine(inProcess);
  ASSERT_THAT(expected, SizeIs(16));
  EXPECT_THAT(expected[0], testing::StartsWith("whole.mp3|Title .mp3|Künstler|アルバム|"));
  EXPECT_EQ(mine(isolated(milliseconds(60000))), expected);
}

TEST_F(IsolatedPhone, ATrackThatEndsTheReaderCostsItself) {
  for (const std::string deed : {"crash", "hang", "ask", "deaf"}) {
    addTrack("/Music/before " + deed + ".mp3", song(".mp3"));
    addTrack("/Music/" + deed + ".mp3", "!" + deed + ".");
  }
  addTrack("/Music/last.mp3", song(".mp3"));
  plugInAndWalk();
  const auto songs = mine(isolated(milliseconds(1500)));
  ASSERT_THAT(songs, SizeIs(9));
  for (std::size_t good = 0; good < songs.size(); good += 2) {
    EXPECT_THAT(songs[good], HasSubstr("|Title .mp3|"));
  }
  EXPECT_THAT(log.texts("tag reader"), SizeIs(4));
}

}  // namespace
}  // namespace orvel::test
