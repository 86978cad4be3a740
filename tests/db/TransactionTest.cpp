#include "db/Transaction.h"

#include <gmock/gmock.h>

#include "tests/support/TemporaryFolder.h"
#include "tests/support/rows.h"

namespace orvel::test {
namespace {

using testing::ElementsAre;

class TransactionTest : public testing::Test {
 protected:
  TransactionTest() {
    rows(file, "CREATE TABLE T(A);");
    out.open(file.c_str(), 20);
  }
  std::vector<std::string> stored() { return rows(file, "SELECT A FROM T;"); }

  TemporaryFolder folder;
  std::string file = folder.path("t.db");
  sqlstl::basic_sqlostream<char> out;
};

TEST_F(TransactionTest, RollsBackWhatCannotBeCommitted) {
  sqlstl::basic_sqlistream<char> reader;
  reader.open(file.c_str(), 20);
  reader.query("SELECT 1 FROM sqlite_schema;");  // keeps its shared lock: the journal is no WAL
  Transaction blocked(out);
  out.exec("INSERT INTO T VALUES(1);");
  EXPECT_FALSE(blocked.end());
  EXPECT_NE(sqlite3_get_autocommit(out.handle()), 0);
  reader.finalize();
  EXPECT_THAT(stored(), ElementsAre());

  out.exec("BEGIN; INSERT INTO T VALUES(2);");
  EXPECT_TRUE(Transaction::settle(out.handle()));
  EXPECT_TRUE(Transaction::settle(out.handle()));
  EXPECT_THAT(stored(), ElementsAre("2"));
}

}  // namespace
}  // namespace orvel::test
