#include <orvel/Search.h>

#include <sqlite3.h>

#include <algorithm>
#include <stdexcept>

#include "search/SearchTexts.h"

namespace orvel {

namespace {

/// Further words are passed over: a text this long comes by accident.
constexpr std::size_t kMostWords = 16;

std::vector<std::string_view> wordsOf(std::string_view folded) {
  std::vector<std::string_view> words;
  while (!folded.empty() && words.size() < kMostWords) {
    const std::size_t end = std::min(folded.find(' '), folded.size());
    if (end != 0) words.push_back(folded.substr(0, end));
    folded.remove_prefix(std::min(end + 1, folded.size()));
  }
  return words;
}

/// Changes when another connection has written.
std::int64_t versionOf(sqlite3* connection) {
  sqlite::Statement statement;
  if (statement.prepare(connection, "PRAGMA data_version") != SQLITE_OK ||
      statement.step() != SQLITE_ROW) {
    throw std::runtime_error(std::string("The database cannot be searched (") +
                             sqlite3_errmsg(connection) + ").");
  }
  return statement.columnInt64(0);
}

/// Lets all queries of a scope see the database at one moment, where the caller does not.
class ReadTransaction {
 public:
  explicit ReadTransaction(sqlite3* database)
      : connection(sqlite3_get_autocommit(database) != 0 ? database : nullptr) {
    run("BEGIN");
  }
  ~ReadTransaction() { run("COMMIT"); }
  ReadTransaction(const ReadTransaction&) = delete;
  ReadTransaction& operator=(const ReadTransaction&) = delete;

 private:
  void run(const char* sql) {
    if (connection != nullptr) sqlite3_exec(connection, sql, nullptr, nullptr, nullptr);
  }

  sqlite3* connection;
};

}  // namespace

Search::Search(sqlite3* database) : connection(database) {}

Search::~Search() = default;

Search::Result Search::find(std::string_view words, const std::vector<Kind>& kinds,
                            std::size_t offset, std::size_t count) {
  const std::string folded = foldedText(words);
  const std::vector<std::string_view> wanted = wordsOf(folded);
  if (wanted.empty()) return {};
  const ReadTransaction transaction(connection);
  const std::int64_t current = versionOf(connection);
  if (texts == nullptr || current != version) texts = std::make_unique<SearchTexts>(connection);
  version = current;
  std::vector<SearchTexts::Found> found = texts->find(wanted, kinds);
  Result result{{}, found.size()};
  const std::size_t begin = std::min(offset, found.size());
  const std::size_t end = begin + std::min(count, found.size() - begin);
  texts->sort(found, end);
  for (std::size_t i = begin; i < end; ++i) result.hits.push_back(found[i].hit);
  return result;
}

std::size_t Search::memory() const {
  return texts == nullptr ? 0 : texts->memory();
}

void Search::freeMemory() {
  texts.reset();
}

}  // namespace orvel
