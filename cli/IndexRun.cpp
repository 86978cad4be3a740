#include "cli/IndexRun.h"

#include <orvel/DatabaseMgr.h>
#include <unistd.h>

#include <QAbstractEventDispatcher>
#include <QCoreApplication>
#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <optional>
#include <system_error>
#include <thread>

#include "cli/AttachedPhones.h"
#include "cli/BackgroundWork.h"
#include "cli/ExitStatus.h"
#include "cli/IndexSession.h"
#include "cli/MountPoint.h"
#include "host/DeviceId.h"

namespace orvel::cli {

namespace {

constexpr std::chrono::milliseconds kStoragePause{500};

/// Playlists are parsed on GLib's main loop: with another one the indexer would wait for ever.
void requireGlibLoop() {
  const QAbstractEventDispatcher* dispatcher = QAbstractEventDispatcher::instance();
  if (dispatcher != nullptr && dispatcher->inherits("QEventDispatcherGlib")) return;
  throw CommandError(
      CouldNotRun, std::string("Playlists cannot be parsed: the event loop is ") +
                       (dispatcher == nullptr ? "absent" : dispatcher->metaObject()->className()) +
                       ", not GLib's. Unset QT_NO_GLIB and use a Qt that is built with GLib.");
}

/// Throws if access(2) refuses `mode` on `path`; the message calls the path `subject`.
void requireAccess(const std::string& path, int mode, const std::string& subject) {
  if (access(path.c_str(), mode) == 0) return;
  const int error = errno;
  throw CommandError(CouldNotRun, subject + " cannot be written (" + std::strerror(error) +
                                      "). Change its permissions or name another folder with"
                                      " --db-dir.");
}

/// Returns why the totals cannot be read; empty when they were.
std::string readTotals(IndexResult& result) {
  result.databaseBytes = browse::databaseBytes(result.database);
  if (result.databaseBytes == 0) return {};
  try {
    result.totals = browse::MediaDatabase(result.database).totals();
  } catch (const browse::DatabaseError& error) {
    return error.what();
  }
  return {};
}

}  // namespace

IndexRun::IndexRun(const IndexOptions& indexOptions, ProgressLine& progressLine)
    : options(indexOptions), line(progressLine) {
  signals.onSignal = [this] { interrupt(); };
}

std::vector<IndexResult> IndexRun::run() {
  if (options.isPhone) {
    indexPhones();
  } else {
    record([this](IndexResult& result) { indexStick(result); });
  }
  return std::move(results);
}

void IndexRun::record(const std::function<void(IndexResult&)>& work) {
  const auto started = Clock::now();
  IndexResult result;
  try {
    work(result);
  } catch (const CommandError& error) {
    if (error.status == WrongUsage) throw;
    result.error = error.what();
  } catch (const std::exception& error) {
    result.error = error.what();
  }
  if (!result.error) result.signal = signals.received();
  result.seconds = std::chrono::duration<double>(Clock::now() - started).count();
  results.push_back(std::move(result));
}

void IndexRun::indexStick(IndexResult& result) {
  const std::vector<std::string> mountPoints = mountPointsFrom(options.operands);
  result.deviceId =
      options.deviceId ? *options.deviceId : host::defaultDeviceId(mountPoints.front());
  for (const std::string& mountPoint : mountPoints)
    requireReadableFolder(mountPoint, options.allowEmpty);
  StickSource stick;
  index(stick, mountPoints, result);
}

void IndexRun::indexPhones() {
  const PhoneRelease release;
  std::vector<AttachedDevice> phones;
  record([&](IndexResult&) { phones = wantedPhones(); });
  if (results.back().error || phones.empty()) return;
  results.clear();
  for (const AttachedDevice& phone : phones) {
    record([&](IndexResult& result) { indexPhone(phone, result); });
  }
}

std::vector<AttachedDevice> IndexRun::wantedPhones() {
  auto found = doInBackground([file = options.scriptedFile] { return findPhones(file); }, signals);
  if (!found) return {};
  if (!options.operands.empty()) return {phoneNamed(options.operands.front(), *found)};
  if (found->empty()) throw CommandError(CouldNotRun, kNoPhone);
  if (options.deviceId && found->size() > 1) {
    throw CommandError(
        WrongUsage,
        "Several devices are attached. Say which one --device-id is for: --mtp SERIAL.");
  }
  // Unlocked phones first: waiting for a locked one must not delay them.
  std::stable_partition(found->begin(), found->end(),
                        [](const AttachedDevice& phone) { return !phone.storages.empty(); });
  return *found;
}

void IndexRun::indexPhone(const AttachedDevice& phone, IndexResult& result) {
  result.deviceId = options.deviceId.value_or(phone.deviceId);
  if (signals.received() != 0) return;
  if (!phone.error.empty()) throw CommandError(CouldNotRun, nameOf(phone) + ": " + phone.error);
  const bool isKnown = std::any_of(results.begin(), results.end(), [&](const IndexResult& earlier) {
    return earlier.deviceId == result.deviceId;
  });
  if (isKnown) {
    throw CommandError(CouldNotRun, "Another attached device has the id " + result.deviceId +
                                        ", too. Unplug one: they would share a database.");
  }
  if (phone.storages.empty() && !waitForStorage(phone)) return;
  PhoneSource source(phone.handle);
  index(source, {PhoneSource::mountPointOf(result.deviceId)}, result);
}

bool IndexRun::waitForStorage(const AttachedDevice& phone) {
  const auto deadline = Clock::now() + options.storageWait;
  if (!options.quiet) line.print(lockedText(phone));
  const auto look = [handle = phone.handle] {
    std::this_thread::sleep_for(kStoragePause);
    return !storagesOf(handle).empty();
  };
  while (Clock::now() < deadline) {
    const bool isUnlocked = doInBackground(look, signals, deadline).value_or(false);
    if (signals.received() != 0) return false;
    if (isUnlocked) return true;
    if (!isAttached(phone.handle)) {
      throw CommandError(CouldNotRun, nameOf(phone) + " was unplugged. Plug it in and try again.");
    }
  }
  throw CommandError(CouldNotRun, lockedText(phone) + " Then try again; nothing was changed.");
}

void IndexRun::index(IndexSource& source, const std::vector<std::string>& mountPoints,
                     IndexResult& result) {
  prepareDatabase(result);
  requireGlibLoop();
  for (const std::string& mountPoint : mountPoints) {
    result.partitions.push_back({mountPoint, {}, {}});
  }
  {
    IndexSession indexing(source, result, line);
    session = &indexing;
    indexing.run();
    session = nullptr;
  }
  const std::string failure = readTotals(result);
  if (!failure.empty() && !options.quiet)
    line.print("orvel: warning: " + failure, LogLevel::Warning);
}

void IndexRun::prepareDatabase(IndexResult& result) const {
  DatabaseMgr& databases = DatabaseMgr::instance();
  result.database = databases.getDbNameFromDevId(result.deviceId);
  databases.createDirectory();
  // With the trailing "/" access(2) refuses a file in the folder's place.
  requireAccess(options.databaseFolder + "/", W_OK | X_OK,
                "The database folder " + options.databaseFolder);
  std::error_code ignored;
  if (std::filesystem::exists(result.database, ignored)) {
    requireAccess(result.database, R_OK | W_OK, "The database " + result.database);
  }
}

void IndexRun::interrupt() {
  if (!options.quiet) line.print("Interrupted: stopping in order. Again ends at once.");
  if (session != nullptr) session->interrupt();
}

}  // namespace orvel::cli
