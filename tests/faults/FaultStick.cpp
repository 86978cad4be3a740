#include "tests/faults/FaultStick.h"

#include <filesystem>

#include "tests/endtoend/Song.h"
#include "tests/faults/Contents.h"
#include "tests/support/waitUntil.h"

namespace orvel::test {

namespace fs = std::filesystem;

void FaultStick::fillStick() {
  writeSong(stick + "/A/kept.mp3", {"Kept", "X"});
  writeSong(stick + "/A/changed.m4a", {"Before", "Y"});
  writeSong(stick + "/B/gone.flac", {"Gone", "Z"});
  temporary.touch("stick/A/changed.m4a", 1000);
  temporary.file("stick/list.m3u", "A/kept.mp3\nB/gone.flac\n");
  temporary.touch("stick/list.m3u", 1000);
}

void FaultStick::changeStick() {
  writeSong(stick + "/A/changed.m4a", {"After", "W"});
  temporary.touch("stick/A/changed.m4a", 2000);
  writeSong(stick + "/C/new.mp3", {"New", "X"});
  fs::remove(stick + "/B/gone.flac");
  temporary.file("stick/list.m3u", "C/new.mp3\nA/changed.m4a\n");
  temporary.touch("stick/list.m3u", 2000);
}

void FaultStick::beginCase(const std::string& kept) {
  const std::string folder = temporary.path("db" + std::to_string(folders));
  fs::remove_all(folder);
  manager.setDirectory(temporary.folder("db" + std::to_string(++folders)));
  if (!kept.empty()) fs::copy_file(kept, database());
}

std::vector<std::string> FaultStick::indexFresh(const std::string& keptAs) {
  beginCase();
  index(kDevice, stick);
  EXPECT_EQ(storedStatus(), "OK");
  if (!keptAs.empty()) {
    fs::copy_file(database(), keptAs, fs::copy_options::overwrite_existing);
  }
  return contentsOf(database());
}

bool FaultStick::waitUntilEnded() {
  return waitUntil(
      [this] {
        return controller->liveRequests() == 0 || progress().phase == RequestPhase::Failed;
      },
      std::chrono::seconds(60));
}

std::string FaultStick::storedStatus() {
  if (!fs::exists(database())) return "";
  if (rowsOf(kDevice, "PRAGMA user_version;").front() == "0") return "";
  const auto status = rowsOf(kDevice, "SELECT STATUS FROM PARTITIONS;");
  return status.empty() ? "" : status.front();
}

}  // namespace orvel::test
