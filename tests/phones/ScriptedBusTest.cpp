#include "phones/scripted/ScriptedBus.h"

#include <gmock/gmock.h>

#include <array>
#include <future>

#include "phones/Access.h"
#include "phones/DeviceBus.h"
#include "phones/OwnedList.h"
#include "tests/support/waitUntil.h"

namespace orvel::scripted {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class ScriptedBusTest : public testing::Test {
 protected:
  ScriptedBusTest() {
    phone.addTrack("/Music/a.mp3").content = "0123456789";
    phone.addTrack("/Music/AC//DC.mp3").tags = DeviceTags{"T", "", "", "", "", 1};
    phone.addFolder("/Music/Again").target = "/Music";
    phone.addPlaylist("/Best", {"/Music/AC//DC.mp3", "/gone.mp3"});
  }
  ~ScriptedBusTest() override { clear(); }

  static std::unique_ptr<DeviceSession> open(const std::string& path) {
    auto session = deviceBus::connect({path, 0, 0});
    DeviceDescription description;
    EXPECT_EQ(session->open(description), STATUS_OK);
    return session;
  }

  std::vector<DeviceObject> list(DeviceSession& session, t_track_id folder) const {
    std::vector<DeviceObject> children;
    EXPECT_EQ(session.listFolder(phone.storages[0].id, folder, children), STATUS_OK);
    return children;
  }

  ScriptedDevice phone;
};

std::vector<std::string> namesOf(const std::vector<DeviceObject>& objects) {
  std::vector<std::string> names;
  names.reserve(objects.size());
  for (const DeviceObject& object : objects) names.push_back(object.name);
  return names;
}

TEST_F(ScriptedBusTest, ServesWhatIsDescribed) {
  const std::string path = attach(phone);
  const auto session = open(path);
  const auto root = list(*session, 0);
  EXPECT_THAT(namesOf(root), ElementsAre("Music", "Best.pla"));
  const auto music = list(*session, root[0].id);
  EXPECT_THAT(namesOf(music), ElementsAre("a.mp3", "AC/DC.mp3", "Again"));
  EXPECT_EQ(music[2].id, root[0].id) << "the folder holds itself";

  std::string bytes;
  EXPECT_EQ(session->readBytes(music[0], 7, 100, bytes), STATUS_OK);
  EXPECT_EQ(bytes, "789");
  DeviceTags tags;
  EXPECT_EQ(session->readTags(music[0], tags), STATUS_NOT_SUPPORTED);
  EXPECT_EQ(session->readTags(music[1], tags), STATUS_OK);
  EXPECT_EQ(tags.title, "T");
  std::vector<t_track_id> members;
  EXPECT_EQ(session->playlistMembers(root[1].id, members), STATUS_OK);
  EXPECT_THAT(members, ElementsAre(music[1].id, testing::Gt(music[1].id)));
  std::vector<DevicePlaylist> playlists;
  EXPECT_EQ(session->listPlaylists(playlists), STATUS_OK);
  ASSERT_EQ(playlists.size(), 1U);
  EXPECT_EQ(playlists[0].name, "Best");
  EXPECT_EQ(journal(path).counts.at("readTags"), 2U);
  EXPECT_EQ(journal(path).operations[2], "listFolder /Music");
}

TEST_F(ScriptedBusTest, IdsStayUnlessADeviceRenumbers) {
  const std::string path = attach(phone);
  const t_track_id before = idOf(path, "/Music/a.mp3");
  ScriptedDevice changed = phone;
  changed.objects.insert(changed.objects.begin(), changed.objects.back());
  changed.objects.front().path = "/New";
  update(path, changed);
  EXPECT_EQ(idOf(path, "/Music/a.mp3"), before);

  const std::string again = replug(path);
  EXPECT_NE(again, path);
  EXPECT_FALSE(deviceBus::isPresent(path));
  EXPECT_EQ(idOf(again, "/Music/a.mp3"), before);
  changed.renumbers = true;
  update(again, changed);
  const std::string renumbered = replug(again);
  EXPECT_NE(idOf(renumbered, "/Music/a.mp3"), before);
  EXPECT_EQ(idOf(replug(renumbered), "/New"), 1U) << "and back";
  EXPECT_EQ(deviceBus::scan().size(), 1U);
}

TEST_F(ScriptedBusTest, FaultsHappenAtTheirCalls) {
  phone.addFault("Access_GetItems", Fault::Effect::Answer).status = STATUS_BUSY;
  phone.faults.back().from = 2;
  phone.faults.back().times = 2;
  phone.addFault("listFolder", Fault::Effect::Items).items = 1;
  phone.faults.back().path = "/Music";
  phone.addFault(kAtCount, Fault::Effect::Items).items = 99;
  phone.faults.back().path = "/";
  phone.addFault(kAtAnyCall, Fault::Effect::Remove).from = 6;
  const std::string path = attach(phone);
  const auto session = open(path);
  EXPECT_EQ(list(*session, 0).size(), 2U);
  EXPECT_EQ(list(*session, idOf(path, "/Music")).size(), 1U);
  EXPECT_EQ(list(*session, idOf(path, "/Music")).size(), 3U);

  const t_handle handle = attachedDevices().back().handle;
  const t_mtp_container root{CONTAINER_FOLDER, 0, phone.storages[0].id};
  std::uint32_t count = 0;
  EXPECT_EQ(Access_GetNumItems(handle, root, TYPE_OBJECT, count), STATUS_OK);
  EXPECT_EQ(count, 99U);
  std::array<t_status, 4> statuses{};
  for (t_status& status : statuses) {
    OwnedItems items;
    status = Access_GetItems(handle, root, TYPE_OBJECT, 0, 1, items.out());
  }
  EXPECT_THAT(statuses, ElementsAre(STATUS_OK, STATUS_BUSY, STATUS_BUSY, STATUS_OK));
  EXPECT_EQ(Command_ResetCategory(handle), STATUS_NOT_OK_BAD_HANDLE) << "the sixth call";
  std::vector<DeviceStorage> storages;
  EXPECT_EQ(session->listStorages(storages), STATUS_NOT_OK_BAD_HANDLE);
  EXPECT_THAT(deviceBus::scan(), IsEmpty());
  EXPECT_EQ(journal(path).calls, 6U);
}

TEST_F(ScriptedBusTest, BlockedOperationsEndByReleaseRemovalOrInTime) {
  phone.addFault("listStorages", Fault::Effect::Block).times = 2;
  phone.addFault("listPlaylists", Fault::Effect::Block).bound = std::chrono::milliseconds(1);
  const std::string path = attach(phone);
  const auto session = open(path);
  const auto blockedCall = [&] {
    auto call = std::async(std::launch::async, [&] {
      std::vector<DeviceStorage> storages;
      return session->listStorages(storages);
    });
    EXPECT_TRUE(test::waitUntil([&] { return blocked(path) == 1; }));
    return call;
  };
  std::vector<DevicePlaylist> playlists;
  EXPECT_EQ(session->listPlaylists(playlists), STATUS_OK);
  auto call = blockedCall();
  release(path);
  EXPECT_EQ(call.get(), STATUS_OK);
  call = blockedCall();
  detach(path);
  EXPECT_EQ(call.get(), STATUS_NOT_OK_BAD_HANDLE);
}

}  // namespace
}  // namespace orvel::scripted
