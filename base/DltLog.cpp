#include "base/DltLog.h"

#ifdef ORVEL_WITH_DLT
#include <dlt/dlt.h>
#endif

namespace orvel {

#ifdef ORVEL_WITH_DLT

namespace {

DltContext dltContext;

void writeToDlt(void* /*user*/, LogLevel level, const char* function, int line, const char* text) {
  const auto dltLevel = static_cast<DltLogLevelType>(level);
  DltContextData data;
  if (dlt_user_log_write_start(&dltContext, &data, dltLevel) <= 0) return;
  dlt_user_log_write_string(&data, function);
  dlt_user_log_write_int(&data, line);
  dlt_user_log_write_string(&data, text);
  dlt_user_log_write_finish(&data);
}

}  // namespace

LogSink openDltSink(const char* applicationId) noexcept {
  if (dlt_register_app(applicationId, "media-content indexer") < 0) return nullptr;
  if (dlt_register_context(&dltContext, "MAIN", "indexing") < 0) return nullptr;
  // Without a daemon the library would otherwise wait ten seconds at exit to deliver its buffer.
  dlt_set_resend_timeout_atexit(0);
  return writeToDlt;
}

#else

LogSink openDltSink(const char* /*applicationId*/) noexcept {
  return nullptr;
}

#endif

}  // namespace orvel
