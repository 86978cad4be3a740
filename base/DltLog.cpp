#include "base/DltLog.h"

#ifdef ORVEL_WITH_DLT
#include <dlt/dlt.h>

#include <algorithm>
#include <string>
#include <string_view>
#endif

namespace orvel {

#ifdef ORVEL_WITH_DLT

namespace {

/// A context of the log: the lines of the threads whose server's name holds `server`.
struct Area {
  const char* server;
  const char* id;
  const char* description;
  DltContext context{};
};

/// The first that fits counts. The last one fits all threads.
Area areas[] = {
    {"Crawler", "CRWL", "listing folders"},       {"ChangeFinder", "CHNG", "finding changes"},
    {"Normalizer", "NORM", "batching new songs"}, {"PlaylistMiner", "LIST", "reading playlists"},
    {"Miner", "MINE", "reading songs"},           {"Saver", "SAVE", "storing rows"},
    {"MtpDevice", "PHON", "talking to phones"},   {"", "MAIN", "requests, and the host's threads"},
};

DltContext& contextOfThread() {
  const std::string_view name = logOrigin();
  return std::find_if(
             std::begin(areas), std::end(areas) - 1,
             [&](const Area& area) { return name.find(area.server) != std::string_view::npos; })
      ->context;
}

void writeToDlt(void* /*user*/, LogLevel level, const char* function, int line, const char* text) {
  const auto dltLevel = static_cast<DltLogLevelType>(level);
  DltContextData data;
  if (dlt_user_log_write_start(&contextOfThread(), &data, dltLevel) <= 0) return;
  dlt_user_log_write_string(&data, function);
  dlt_user_log_write_int(&data, line);
  dlt_user_log_write_string(&data, text);
  dlt_user_log_write_finish(&data);
}

bool registerApplication(const char* applicationId) {
  if (dlt_register_app(applicationId, "media-content indexer") < 0) return false;
  for (Area& area : areas) {
    if (dlt_register_context(&area.context, area.id, area.description) < 0) return false;
  }
  // Without a daemon the library would otherwise wait ten seconds at exit to deliver its buffer.
  dlt_set_resend_timeout_atexit(0);
  return true;
}

}  // namespace

LogSink openDltSink(const char* applicationId) noexcept {
  // Once: a process has one application id, and threads may be inside the contexts.
  static const bool isRegistered = registerApplication(applicationId);
  return isRegistered ? writeToDlt : nullptr;
}

#else

LogSink openDltSink(const char* /*applicationId*/) noexcept {
  return nullptr;
}

#endif

}  // namespace orvel
