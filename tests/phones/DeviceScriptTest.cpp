#include "phones/scripted/DeviceScript.h"

#include <gmock/gmock.h>

#include <stdexcept>

#include "tests/support/TemporaryFolder.h"

namespace orvel::scripted {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

class DeviceScriptTest : public testing::Test {
 protected:
  std::vector<ScriptedDevice> read(const std::string& text) const {
    return readDeviceScript(folder.file("phones.txt", text));
  }

  /// What is said about a script that is refused.
  std::string refusal(const std::string& text) const {
    try {
      read(text);
    } catch (const std::runtime_error& error) {
      return error.what();
    }
    return "accepted";
  }

  test::TemporaryFolder folder;
};

std::vector<std::string> pathsOf(const ScriptedDevice& device) {
  std::vector<std::string> paths;
  for (const ScriptedObject& object : device.objects) paths.push_back(object.path);
  return paths;
}

TEST_F(DeviceScriptTest, DescribesSeveralDevices) {
  folder.file("songs/a.mp3", "bytes");
  const auto devices = read(R"(
# two phones
device vendor=18D1 product=0001 serial=A1 maker="Some \"Maker\"" model=Phone renumbers
storage Internal capacity=1000 free=10
track "/Music/a = b.mp3" title="T # 1" artist=X number=3 size=77 modified=1700000000  # the first
track /Music/Deep/c=d.mp3 file=songs/a.mp3
folder /Music/Again = /Music
storage "SD card"
file /AC//DC.jpg
playlist "/Lists/My Best" = "/Music/a = b.mp3" /gone.mp3
playlist /Lists/Empty
fault Access_GetItems answer=busy from=2 times=5
fault listFolder block=250 path=/Music always
device
fault any remove from=17
fault count items=9 path=/
)");
  ASSERT_EQ(devices.size(), 2U);
  const ScriptedDevice& first = devices[0];
  EXPECT_THAT((std::vector{first.serial, first.maker, first.model}),
              ElementsAre("A1", "Some \"Maker\"", "Phone"));
  EXPECT_TRUE(first.vendor == 0x18d1 && first.product == 1 && first.renumbers);
  EXPECT_THAT(pathsOf(first), ElementsAre("/Music", "/Music/a = b.mp3", "/Music/Deep",
                                          "/Music/Deep/c=d.mp3", "/Music/Again", "/AC//DC.jpg",
                                          "/Lists", "/Lists/My Best", "/Lists/Empty"));
  const ScriptedObject& tagged = first.objects[1];
  ASSERT_TRUE(tagged.tags);
  EXPECT_TRUE(tagged.tags->title == "T # 1" && tagged.tags->artist == "X" &&
              tagged.tags->trackNumber == 3 && tagged.size == 77 && tagged.modified == 1700000000);
  EXPECT_FALSE(first.objects[3].tags);
  EXPECT_EQ(first.objects[3].file, folder.path("songs/a.mp3"));
  EXPECT_EQ(first.objects[4].target, "/Music");
  EXPECT_THAT(first.objects[7].members, ElementsAre("/Music/a = b.mp3", "/gone.mp3"));
  ASSERT_EQ(first.storages.size(), 2U);
  EXPECT_TRUE(first.storages[0].capacityBytes == 1000 && first.storages[0].freeBytes == 10);
  EXPECT_NE(first.objects[0].storage, first.objects[6].storage);
  ASSERT_EQ(first.faults.size(), 2U);
  EXPECT_TRUE(first.faults[0].status == STATUS_BUSY && first.faults[0].from == 2 &&
              first.faults[0].times == 5);
  EXPECT_TRUE(first.faults[1].effect == Fault::Effect::Block && first.faults[1].path == "/Music" &&
              first.faults[1].times == kForEver && first.faults[1].bound.count() == 250);
  EXPECT_EQ(devices[1].faults[0].effect, Fault::Effect::Remove);
  EXPECT_TRUE(devices[1].faults[1].effect == Fault::Effect::Items &&
              devices[1].faults[1].items == 9);
}

TEST_F(DeviceScriptTest, ErrorsNameFileLineAndRemedy) {
  const std::pair<const char*, const char*> faulty[] = {
      {"trak /a.mp3", "Begin the line with device, storage"},
      {"device serial=B2 colour=red", "knows no 'colour'. It knows: vendor, product, serial"},
      {"device locked", "'locked' makes no sense"},
      {"device vendor=12345", "no number up to 65535 in hexadecimal"},
      {"track", "'track' names no path"},
      {"track a.mp3", "'a.mp3' does not begin with '/'"},
      {"folder /Music/", "does not end with a name"},
      {"track /a.mp3 title=\"open", "a quote is not closed"},
      {"track /a.mp3 /b.mp3", "'/b.mp3' makes no sense behind 'track'"},
      {"track /a.mp3 size=big", "'size=big' is no number"},
      {"track /a.mp3 size=1 size=2", "'size' is given twice"},
      {"track /a.mp3 file=nowhere.mp3", "nowhere.mp3 cannot be read"},
      {"folder /a =", "names no folder behind '='"},
      {"fault Access_GetCars remove", "no place for a fault"},
      {"fault Access_GetItems block=10", "Calls take answer=NAME and remove"},
      {"fault listFolder", "needs another fault"},
      {"fault page remove", "count and page take items=N"},
      {"fault open answer=maybe", "'maybe' is no answer"}};
  for (const auto& [line, remedy] : faulty) {
    const std::string text = refusal(std::string("device\n\n") + line + "\n");
    EXPECT_THAT(text, HasSubstr(folder.path("phones.txt") + ":3: ")) << line;
    EXPECT_THAT(text, HasSubstr(remedy)) << line;
  }
  EXPECT_THAT(refusal("track /a.mp3\n"), HasSubstr(":1: there is no device yet"));
  EXPECT_THAT(refusal("# nothing\n"), HasSubstr("describes no device"));
  EXPECT_THROW(readDeviceScript(folder.path("nowhere")), std::runtime_error);
  EXPECT_THROW(readDeviceScript(folder.path()), std::runtime_error);
}

}  // namespace
}  // namespace orvel::scripted
