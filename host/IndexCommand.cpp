#include "host/IndexCommand.h"

#include <unistd.h>

#include <QAbstractEventDispatcher>
#include <QCoreApplication>
#include <algorithm>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstring>
#include <filesystem>
#include <iostream>
#include <system_error>

#include "db/DatabaseMgr.h"
#include "host/DeviceId.h"
#include "host/DisplayText.h"
#include "host/ExitStatus.h"
#include "host/IndexSession.h"
#include "host/JsonReport.h"
#include "host/LogOutput.h"
#include "host/MountPoint.h"
#include "host/SignalWatcher.h"
#include "host/Summary.h"
#include "platform/common/Log.h"
#include "platform/tags/TagReading.h"

namespace orvel::host {

namespace {

using Clock = std::chrono::steady_clock;

int logThreshold(const IndexOptions& options) {
  if (options.quiet) return LOG_ERROR;
  return std::min<int>(LOG_WARN + options.verbosity, LOG_VERBOSE);
}

/// Playlists are parsed on GLib's main loop: under another one the indexer would wait for ever.
void requireGlibLoop() {
  const QAbstractEventDispatcher* dispatcher = QAbstractEventDispatcher::instance();
  if (dispatcher != nullptr && dispatcher->inherits("QEventDispatcherGlib")) return;
  throw HostError(CouldNotRun,
                  std::string("Playlists cannot be parsed: the event loop is ") +
                      (dispatcher == nullptr ? "absent" : dispatcher->metaObject()->className()) +
                      ", not GLib's. Unset QT_NO_GLIB and use a Qt that is built with GLib.");
}

/// Throws when `path`, which is called `what`, fails a test of access(2).
void requireAccess(const std::string& path, int mode, const std::string& what) {
  if (access(path.c_str(), mode) == 0) return;
  const int error = errno;
  throw HostError(CouldNotRun, what + " cannot be written (" + std::strerror(error) +
                                   "). Change its permissions or name another folder with"
                                   " --db-dir.");
}

void prepareDatabase(const IndexOptions& options, IndexResult& result) {
  DatabaseMgr& databases = DatabaseMgr::instance();
  databases.setDirectory(options.databaseFolder);
  result.database = databases.getDbNameFromDevId(result.deviceId);
  databases.createDirectory();
  // The trailing "/" tells a file in the folder's place.
  requireAccess(options.databaseFolder + "/", W_OK | X_OK,
                "The database folder " + options.databaseFolder);
  std::error_code ignored;
  if (std::filesystem::exists(result.database, ignored)) {
    requireAccess(result.database, R_OK | W_OK, "The database " + result.database);
  }
}

/// Where the tag reader is beside this program: in its build folder, or where both were installed
/// together. Empty: where it was to be installed.
std::string tagReaderNearby() {
  namespace fs = std::filesystem;
  const fs::path folder = QCoreApplication::applicationDirPath().toStdString();
  for (const fs::path where : {".", ORVEL_LIBEXEC_FROM_BIN}) {
    const fs::path program = (folder / where / "orvel-tag-reader").lexically_normal();
    if (access(program.c_str(), X_OK) == 0) return program;
  }
  return {};
}

void readTotals(IndexResult& result) {
  result.databaseBytes = databaseBytes(result.database);
  if (result.databaseBytes == 0) return;
  try {
    result.totals = MediaDatabase(result.database).totals();
  } catch (const HostError& error) {
    OV_WARN("%s", error.what());
  }
}

void index(const IndexOptions& options, ProgressLine& line, IndexResult& result) {
  const std::vector<std::string> mountPoints = mountPointsFrom(options.mountPoints);
  result.deviceId = options.deviceId ? *options.deviceId : defaultDeviceId(mountPoints.front());
  for (const std::string& mountPoint : mountPoints) requireReadableFolder(mountPoint);
  if (!options.inProcess) setTagReading(TagReading::Isolated, tagReaderNearby());
  prepareDatabase(options, result);
  requireGlibLoop();
  for (const std::string& mountPoint : mountPoints)
    result.partitions.push_back({mountPoint, {}, {}});
  SignalWatcher signals;
  IndexSession session(result, line);
  signals.onSignal = [&](int signal) {
    if (!options.quiet) line.print("Interrupted: stopping in order. Again ends at once.");
    session.interrupt(signal);
  };
  session.run();
  readTotals(result);
}

void report(const IndexOptions& options, const IndexResult& result) {
  if (result.error) std::cerr << "orvel: " << displayText(*result.error) << std::endl;
  if (options.json) {
    std::cout << jsonReport(result) << std::endl;
  } else if (!result.error && !options.quiet) {
    std::cout << summary(result) << std::flush;
  }
  if (!std::cout) throw HostError(CouldNotRun, "The result of the run cannot be written.");
}

}  // namespace

int runIndex(const IndexOptions& options) {
  const auto started = Clock::now();
  // A reader of the progress that goes away must not end the run.
  std::signal(SIGPIPE, SIG_IGN);
  IndexResult result;
  {
    ProgressLine line(!options.quiet);
    const LogOutput log(line, logThreshold(options));
    try {
      index(options, line, result);
    } catch (const HostError& error) {
      if (error.status == WrongUsage) throw;
      result.error = error.what();
    } catch (const std::exception& error) {
      result.error = error.what();
    }
  }
  result.seconds = std::chrono::duration<double>(Clock::now() - started).count();
  report(options, result);
  return result.exitStatus();
}

}  // namespace orvel::host
