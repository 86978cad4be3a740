#pragma once

#include <orvel/DatabaseMgr.h>

#include <cstdint>
#include <string>

#include "base/Log.h"
#include "db/SqlStream.h"
#include "framework/HostListener.h"
#include "framework/RequestProgress.h"
#include "framework/Server.h"

namespace orvel {

/// A stage that reads and writes the device's database over two connections of its own. Only the
/// stage's thread uses them.
template <class TIN, class TOUT>
class ServerDB : public Server<TIN, TOUT> {
 public:
  using Server<TIN, TOUT>::Server;

  /// Closes the connections on the stage's own thread.
  void runLoop() override {
    Server<TIN, TOUT>::runLoop();
    close();
  }

  /// Opens both streams, the output stream first; throws std::runtime_error("cannot open db").
  void open(const std::string& deviceId) {
    DatabaseMgr::instance().open(deviceId, out, kBusyTimeoutMs);
    DatabaseMgr::instance().open(deviceId, in, kBusyTimeoutMs);
  }

 protected:
  /// Closes the input stream's connection and then the output stream's.
  void close() {
    in.close();
    out.close();
  }

  /// Closes both streams at the end of a scope, also after an exception.
  class ClosingScope {
   public:
    explicit ClosingScope(ServerDB& scoped) : server(scoped) {}
    ~ClosingScope() { server.close(); }
    ClosingScope(const ClosingScope&) = delete;
    ClosingScope& operator=(const ClosingScope&) = delete;

   private:
    ServerDB& server;
  };

  /// True when `bytes` more keep the database within its size limit; otherwise the block is left
  /// undone. `result` as for `leaveUndone`.
  bool fits(std::int64_t bytes, Operation& result) {
    if (bytes == 0 || DatabaseMgr::instance().hasRoomFor(result.deviceId, bytes)) return true;
    OV_WARN("%s: the database has no room for %ld bytes more", this->name,
            static_cast<long>(bytes));
    this->leaveUndone(result, LeftUndone::SizeLimit);
    return false;
  }

  /// Tells the host that rows of the device have changed, unless the stage is paused or stopped.
  void signalContentModified(const Operation& operation) {
    if (!this->running()) return;
    this->progress->contentModified = true;
    this->listener->contentModified(operation.mountPoint);
  }

  sqlstl::basic_sqlostream<char> out;
  sqlstl::basic_sqlistream<char> in;
};

}  // namespace orvel
