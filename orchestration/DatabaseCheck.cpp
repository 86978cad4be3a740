#include "orchestration/DatabaseCheck.h"

#include <pthread.h>

#include <cassert>
#include <exception>
#include <utility>
#include <vector>

#include "base/Log.h"
#include "base/StageThread.h"
#include "db/DatabaseFile.h"
#include "db/ManagerSqlTexts.h"

namespace orvel {

namespace {
constexpr char kName[] = "DatabaseCheck";
}  // namespace

void DatabaseCheck::prepare(std::string databaseFile) {
  file = std::move(databaseFile);
}

DatabaseCheck::~DatabaseCheck() {
  assert(!thread.joinable() && "joined before it is destroyed");
}

void DatabaseCheck::start() {
  if (begun || file.empty() || cancellation.stop_requested()) return;
  begun = true;
  // On one core it would only cost: requests that find a change check once more.
  if (std::thread::hardware_concurrency() == 1) return;
  try {
    thread = std::thread([this] {
      runLoop();
      ended.release();
    });
    pthread_setname_np(thread.native_handle(), kName);
  } catch (const std::exception& error) {
    OV_WARN("%s cannot begin: %s", kName, error.what());
  }
}

void DatabaseCheck::runLoop() {
  setLogOrigin(kName);
  stageThread::enter(cancellation.get_token());
  try {
    check();
  } catch (const std::exception& error) {
    OV_WARN("%s failed: %s", kName, error.what());
  }
}

void DatabaseCheck::check() {
  DatabaseFile database(file);
  const auto version = database.texts(sql::kDataVersion);
  const auto findings = database.texts(sql::kCheckIntegrity);
  if (!version || !findings || !isAsked()) return;
  isSound =
      *findings == std::vector<std::string>{"ok"} && database.texts(sql::kDataVersion) == version;
}

bool DatabaseCheck::isAsked() {
  std::unique_lock lock(mutex);
  return question.wait(lock, cancellation.get_token(), [this] { return asked; });
}

bool DatabaseCheck::confirms() {
  {
    const std::lock_guard lock(mutex);
    asked = true;
  }
  question.notify_all();
  join();
  return isSound;
}

void DatabaseCheck::join() {
  if (thread.joinable()) thread.join();
}

bool DatabaseCheck::hasEndedBy(Deadline deadline) {
  if (!thread.joinable()) return true;
  if (!ended.try_acquire_until(deadline)) return false;
  ended.release();  // for the next who asks
  return true;
}

}  // namespace orvel
