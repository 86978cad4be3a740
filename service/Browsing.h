#pragma once

#include <gio/gio.h>

#include <atomic>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "browse/MediaDatabase.h"
#include "browse/Pages.h"
#include "service/WorkThread.h"

namespace orvel::service {

/// The contents of a database, in numbers.
struct DatabaseContents {
  std::string deviceId;
  std::vector<browse::StoredPartition> partitions;
  browse::Totals totals;
  bool hasChanged = true;  ///< since it was examined before
};

/// Reads databases on a thread of its own, at a lower priority than the indexer's.
///
/// Answers the Browser's calls, after the jobs of the service itself. A client may have a few of
/// them under way: one that floods the service waits for itself. While a device is being indexed,
/// the thread rests after each call for three times as long as the call took.
class Browsing {
 public:
  Browsing();
  /// Answers the call in hand; others get none.
  ~Browsing();
  Browsing(const Browsing&) = delete;
  Browsing& operator=(const Browsing&) = delete;

  /// Answers a call of List, whose arguments are those of the bus. Throws BusError for wrong ones.
  void list(GDBusMethodInvocation* call, const std::string& database, const char* kind,
            GVariant* filter, const browse::PageRequest& page);
  /// Answers a call of Search.
  void search(GDBusMethodInvocation* call, const std::string& database, const char* words,
              const char* const* kinds, const browse::PageRequest& page);

  /// Examines a database and calls `tell` on the main loop; with nothing if it cannot be read.
  void examine(const std::string& database,
               std::function<void(const std::optional<DatabaseContents>&)> tell);
  void setIndexing(bool isUnderWay) { isIndexing = isUnderWay; }
  /// Closes a database that is deleted.
  void close(const std::string& database);
  /// Calls `tell` on the main loop with each readable database of a folder.
  void examineAll(const std::string& folder,
                  std::function<void(const std::string& database, const DatabaseContents&)> tell);

 private:
  class OpenDatabase;
  /// Fills a page; returns the number of all rows.
  using Work = std::function<GVariant*(const browse::MediaDatabase&)>;

  void answerLater(GDBusMethodInvocation* call, const std::string& database, Work work);
  void admit(const std::string& client);
  void release(const std::string& client);
  // For the reading thread.
  void answer(GDBusMethodInvocation* call, const std::string& database, const Work& work);
  /// Throws DatabaseError.
  OpenDatabase& opened(const std::string& path);
  std::optional<DatabaseContents> contentsOf(const std::string& path);
  /// Gives back the memory that pages and runs have used.
  void freeMemory();

  std::atomic<bool> isIndexing{false};
  std::mutex mutex;
  std::map<std::string, unsigned> callsOfClient;                   ///< under way
  std::map<std::string, std::unique_ptr<OpenDatabase>> databases;  ///< the reading thread's
  WorkThread reader{5, [this] { freeMemory(); }};                  ///< last: its jobs use the rest
};

}  // namespace orvel::service
