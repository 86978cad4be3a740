#include <gmock/gmock.h>
#include <orvel/MtpDevice.h>

#include <array>
#include <cstdio>
#include <random>

#include "tests/endtoend/IndexerHost.h"
#include "tests/endtoend/Song.h"
#include "tests/support/Effort.h"
#include "tests/support/ScriptedPhone.h"

namespace orvel::test {
namespace {

/// Two sticks with playlists and two phones, whose databases are known before the storm.
class StormTest : public IndexerHost {
 protected:
  StormTest() {
    for (const char* name : {"one", "two"}) {
      const std::string root = stick + "/" + name;
      writeSong(root + "/A/s.mp3", {std::string("T") + name, "X"});
      writeSong(root + "/t.mp3", {"U", std::string("Y") + name});
      temporary.file("stick/" + std::string(name) + "/p.m3u", "A/s.mp3\nt.mp3\n");
    }
    for (std::size_t i = 0; i < phones.size(); ++i) {
      phones[i].device.serial = deviceIds[i + 2];
      phones[i].device.addTrack("/Music/B/t.mp3").tags = tags("U" + std::to_string(i), "Y");
      phones[i].plugIn();
    }
  }

  /// One random call of a host.
  void call(std::mt19937_64& random) {
    const auto device = random() % deviceIds.size();
    const QString id = QString::fromStdString(deviceIds[device]);
    const QString mountPoint = QString::fromStdString(mountPointOf(device));
    const bool isPhone = device >= 2;
    const t_handle handle = isPhone ? handleOf(device) : 0;
    OrvelQTProxy& facade = OrvelQTProxy::instance();
    switch (random() % 8) {
      case 0:
        if (isPhone) {
          facade.prioritizeMtpDevice(id, handle);
        } else {
          facade.prioritizeMsdDevice(id, mountPoint);
        }
        break;
      case 1:
        if (isPhone) MtpDevice::instance().disconnectDevice(handle);
        break;
      case 2:
        if (isPhone) replug(device);
        break;
      case 3:
      case 4:
      case 5:
        facade.setDeviceReady(handle);
        break;
      default:
        if (isPhone) {
          facade.startMtpIndexing(id, handle, random() % 2 == 0);
        } else {
          facade.startIndexing(id, mountPoint, random() % 2 == 0);
        }
    }
  }

  void indexAll() {
    for (std::size_t device = 0; device < deviceIds.size(); ++device) {
      if (device < 2) {
        index(deviceIds[device], mountPointOf(device));
        continue;
      }
      const Readiness readiness(handleOf(device));
      OrvelQTProxy::instance().startMtpIndexing(QString::fromStdString(deviceIds[device]),
                                                handleOf(device), true);
      ASSERT_TRUE(waitUntilIdle());
    }
  }

  /// The contents of all databases and all statuses, without row ids.
  std::vector<std::string> contents() {
    std::vector<std::string> all;
    for (std::size_t device = 0; device < deviceIds.size(); ++device) {
      all.push_back(manager.getStatus(deviceIds[device], mountPointOf(device)));
      for (const std::string& row :
           rowsOf(deviceIds[device],
                  "SELECT PATH, OBJECTID, TITLE, ARTISTID FROM SONGS ORDER BY PATH;"
                  "SELECT ARTIST FROM ARTISTS ORDER BY ARTIST;"
                  "SELECT PATH, PARENT_ID FROM DIRECTORIES ORDER BY PATH;"
                  "SELECT PLAYNAME, TRACKID FROM VIEW_PLAYLISTENTRIES ORDER BY PLAYNAME, TRACKID;"
                  "PRAGMA integrity_check;")) {
        all.push_back(row);
      }
    }
    return all;
  }

 private:
  std::string mountPointOf(std::size_t device) const {
    if (device >= 2) return "mtp-folder://" + deviceIds[device];
    return stick + (device == 0 ? "/one" : "/two");
  }
  t_handle handleOf(std::size_t device) {
    const std::lock_guard lock(mutex);
    return phones[device - 2].handle;
  }
  void replug(std::size_t device) {
    const std::lock_guard lock(mutex);
    phones[device - 2].replug();
  }

  const std::array<std::string, 4> deviceIds = {"stick1", "stick2", "phone1", "phone2"};
  std::mutex mutex;
  std::array<ScriptedPhone, 2> phones;
};

TEST_F(StormTest, AfterAnyCallsFromAnyThreadEveryDatabaseIsRightAgain) {
  std::mt19937_64 seeds = seededRandom();
  const long calls = casesOf(600, 10000);
  constexpr long kThreads = 3;
  constexpr long kRounds = 4;
  indexAll();
  const auto expected = contents();
  for (long round = 0; round < kRounds; ++round) {
    std::vector<std::jthread> threads;
    for (long thread = 0; thread < kThreads; ++thread) {
      threads.emplace_back([this, calls, thread, random = std::mt19937_64(seeds())]() mutable {
        for (long i = 0; i < calls / (kRounds * kThreads); ++i) {
          if (thread == 0) {
            onMainLoop([&] { call(random); });
          } else {
            call(random);
          }
        }
      });
    }
    threads.clear();
    renewController();
  }
  indexAll();
  EXPECT_EQ(contents(), expected);
}

}  // namespace
}  // namespace orvel::test
