#include "tests/support/rows.h"

#include <sqlite3.h>

#include <memory>
#include <stdexcept>

namespace orvel::test {

namespace {

int collect(void* result, int columns, char** values, char** /*names*/) {
  std::string row;
  for (int i = 0; i < columns; ++i) {
    if (i > 0) row += '|';
    row += values[i] == nullptr ? "NULL" : values[i];
  }
  static_cast<std::vector<std::string>*>(result)->push_back(row);
  return 0;
}

}  // namespace

std::vector<std::string> rows(const std::string& file, const std::string& sql) {
  sqlite3* opened = nullptr;
  const int openResult = sqlite3_open(file.c_str(), &opened);
  const std::unique_ptr<sqlite3, decltype(&sqlite3_close)> connection(opened, &sqlite3_close);
  sqlite3_busy_timeout(opened, 5000);
  std::vector<std::string> result;
  if (openResult != SQLITE_OK ||
      sqlite3_exec(opened, sql.c_str(), collect, &result, nullptr) != SQLITE_OK) {
    throw std::runtime_error(file + ": " + sqlite3_errmsg(opened));
  }
  return result;
}

}  // namespace orvel::test
