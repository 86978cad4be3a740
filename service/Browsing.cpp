#include "service/Browsing.h"

#include <malloc.h>
#include <sys/stat.h>

#include <algorithm>
#include <chrono>
#include <set>
#include <stdexcept>
#include <thread>
#include <utility>

#include "base/GlibSource.h"
#include "browse/ListQuery.h"
#include "browse/Search.h"
#include "service/BusError.h"
#include "service/RowPage.h"
#include "service/arguments.h"

namespace orvel::service {

namespace {

constexpr std::uint32_t kMostRows = 1000;
constexpr unsigned kMostCallsOfClient = 8;
constexpr unsigned kMostClients = 1000;
constexpr std::size_t kMostOpen = 16;
constexpr int kRests = 3;
constexpr std::chrono::steady_clock::duration kLongestRest = std::chrono::milliseconds(300);
/// After this wait it is worth a question to the bus whether the client still wants its answer.
constexpr std::chrono::steady_clock::duration kLongWait = std::chrono::milliseconds(500);

browse::ListKind kindNamed(const std::string& name) {
  const auto found = browse::listKinds().find(name);
  if (found != browse::listKinds().end()) return found->second;
  std::string names;
  for (const auto& [known, kind] : browse::listKinds()) names += " " + known;
  refuseArgument("There is no kind '" + name + "'. There are:" + names + ".");
}

void requireCount(const browse::PageRequest& page) {
  if (page.count <= kMostRows) return;
  refuseArgument("A page of " + std::to_string(page.count) + " rows is too long. Ask for at most " +
                 std::to_string(kMostRows) + ".");
}

browse::ListQuery queryOf(const char* kind, GVariant* filter) {
  browse::ListQuery query;
  query.kind = kindNamed(kind);
  const std::map<std::string, std::optional<std::string>*> known = {
      {"artist", &query.artist},
      {"album", &query.album},
      {"genre", &query.genre},
      {"playlist", &query.playlist},
      {"directory", &query.directory}};
  forEachEntry(filter, [&](const std::string& name, GVariant* value) {
    const auto field = known.find(name);
    if (field == known.end()) {
      refuseArgument("There is no filter '" + name +
                     "'. There are: artist, album, genre, playlist, directory.");
    }
    *field->second = requireText("filter", name, value);
  });
  return query;
}

int dataVersionOf(const browse::MediaDatabase& database) {
  int version = 0;
  database.query("PRAGMA data_version;", {}, [&](const browse::Row& row) {
    version = static_cast<int>(std::get<std::int64_t>(row[0]));
    return false;
  });
  return version;
}

/// True when the client of a call has left the bus.
bool hasLeft(GDBusMethodInvocation* call, const std::string& client) {
  GVariant* const answer = g_dbus_connection_call_sync(
      g_dbus_method_invocation_get_connection(call), "org.freedesktop.DBus",
      "/org/freedesktop/DBus", "org.freedesktop.DBus", "NameHasOwner",
      g_variant_new("(s)", client.c_str()), G_VARIANT_TYPE("(b)"), G_DBUS_CALL_FLAGS_NONE, -1,
      nullptr, nullptr);
  if (answer == nullptr) return false;
  gboolean isThere = TRUE;
  g_variant_get(answer, "(b)", &isThere);
  g_variant_unref(answer);
  return isThere == FALSE;
}

}  // namespace

/// A connection that stays open, so that a page costs no opening, and a reader of another user
/// finds the files of the write-ahead log.
class Browsing::OpenDatabase {
 public:
  explicit OpenDatabase(const std::string& path) : database(path) {
    if (stat(path.c_str(), &file) != 0) file = {};
  }

  /// False when another file has taken its place.
  [[nodiscard]] bool isStill(const std::string& path) const {
    struct stat now {};
    return stat(path.c_str(), &now) == 0 && now.st_dev == file.st_dev && now.st_ino == file.st_ino;
  }

  /// True when somebody has written since the last call.
  bool hasChanged() { return std::exchange(version, dataVersionOf(database)) != version; }

  const browse::MediaDatabase database;

 private:
  struct stat file {};
  int version = -1;
};

Browsing::Browsing() = default;

Browsing::~Browsing() = default;

void Browsing::list(GDBusMethodInvocation* call, const std::string& database, const char* kind,
                    GVariant* filter, const browse::PageRequest& page) {
  requireCount(page);
  const browse::Listing listing = browse::listingFor(queryOf(kind, filter));
  answerLater(call, database, [listing, page](const browse::MediaDatabase& opened) {
    RowPage rows;
    const std::uint32_t total =
        browse::readPage(opened, listing, page,
                         [&](const browse::Row& row) { return rows.add(listing.columns, row); });
    return rows.finish(total);
  });
}

void Browsing::search(GDBusMethodInvocation* call, const std::string& database, const char* words,
                      const char* const* kinds, const browse::PageRequest& page) {
  requireCount(page);
  std::set<browse::ListKind> wanted;
  for (const char* const* kind = kinds; *kind != nullptr; ++kind) wanted.insert(kindNamed(*kind));
  if (wanted.empty()) {
    for (const auto& [name, kind] : browse::listKinds()) wanted.insert(kind);
  }
  answerLater(call, database,
              [words = std::string(words), wanted, page](const browse::MediaDatabase& opened) {
                RowPage rows;
                const std::uint32_t total = browse::search(
                    opened, words, wanted, page,
                    [&](const char* kind, const std::vector<browse::Column>& columns,
                        const browse::Row& row) { return rows.add(columns, row, kind); });
                return rows.finish(total);
              });
}

void Browsing::answerLater(GDBusMethodInvocation* call, const std::string& database, Work work) {
  const std::string client = g_dbus_method_invocation_get_sender(call);
  admit(client);
  const auto posted = std::chrono::steady_clock::now();
  reader.postLast([this, call, client, database, posted, work = std::move(work)] {
    const auto begin = std::chrono::steady_clock::now();
    if (begin - posted > kLongWait && hasLeft(call, client)) {
      g_object_unref(call);
    } else {
      answer(call, database, work);
    }
    release(client);
    if (isIndexing) {
      const auto taken = std::chrono::steady_clock::now() - begin;
      std::this_thread::sleep_for(std::min(kRests * taken, kLongestRest));
    }
  });
}

void Browsing::answer(GDBusMethodInvocation* call, const std::string& database, const Work& work) {
  try {
    g_dbus_method_invocation_return_value(call, work(opened(database).database));
  } catch (const browse::DatabaseError& error) {
    databases.erase(database);
    refuse(call, BusError(BusError::Kind::NoDatabase, error.what()));
  } catch (const std::invalid_argument& error) {
    refuse(call, BusError(BusError::Kind::InvalidArguments, error.what()));
  } catch (const std::exception& error) {
    refuse(call, error);
  }
}

void Browsing::admit(const std::string& client) {
  const std::lock_guard lock(mutex);
  if (callsOfClient.size() >= kMostClients && !callsOfClient.contains(client)) {
    throw BusError(BusError::Kind::LimitsExceeded, "Too many clients are asking. Try again later.");
  }
  unsigned& calls = callsOfClient[client];
  if (calls >= kMostCallsOfClient) {
    throw BusError(BusError::Kind::LimitsExceeded,
                   std::to_string(calls) + " calls are under way. Wait for their answers first.");
  }
  ++calls;
}

void Browsing::release(const std::string& client) {
  const std::lock_guard lock(mutex);
  if (--callsOfClient.at(client) == 0) callsOfClient.erase(client);
}

Browsing::OpenDatabase& Browsing::opened(const std::string& path) {
  const auto known = databases.find(path);
  if (known != databases.end() && known->second->isStill(path)) return *known->second;
  if (known != databases.end()) databases.erase(known);
  if (databases.size() >= kMostOpen) databases.clear();
  return *(databases[path] = std::make_unique<OpenDatabase>(path));
}

std::optional<DatabaseContents> Browsing::contentsOf(const std::string& path) {
  try {
    OpenDatabase& open = opened(path);
    DatabaseContents contents;
    contents.hasChanged = open.hasChanged();
    open.database.atOneMoment([&] {
      contents.deviceId = open.database.deviceId();
      contents.partitions = open.database.partitions();
      contents.totals = open.database.totals();
    });
    return contents;
  } catch (const std::exception&) {
    databases.erase(path);
    return std::nullopt;
  }
}

void Browsing::examine(const std::string& database,
                       std::function<void(const std::optional<DatabaseContents>&)> tell) {
  reader.post([this, database, tell = std::move(tell)] {
    post(nullptr, [contents = contentsOf(database), tell] { tell(contents); });
  });
}

void Browsing::freeMemory() {
  for (const auto& [path, open] : databases) open->database.freeMemory();
  malloc_trim(0);
}

void Browsing::close(const std::string& database) {
  reader.post([this, database] { databases.erase(database); });
}

void Browsing::examineAll(
    const std::string& folder,
    std::function<void(const std::string& database, const DatabaseContents&)> tell) {
  reader.post([this, folder, tell = std::move(tell)] {
    try {
      for (const std::string& database : browse::databasesIn(folder)) {
        const auto contents = contentsOf(database);
        databases.erase(database);
        if (contents) post(nullptr, [=] { tell(database, *contents); });
      }
    } catch (const browse::DatabaseError&) {
      // An unreadable folder has no known devices; whoever indexes is told about it.
    }
  });
}

}  // namespace orvel::service
