#include "db/SqlStream.h"

#include <gmock/gmock.h>

#include <future>
#include <limits>
#include <stop_token>
#include <thread>

#include "base/Log.h"
#include "base/StageThread.h"
#include "db/DatabaseFile.h"
#include "db/Transaction.h"
#include "tests/support/LogCapture.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/support/rows.h"

namespace orvel::test {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::HasSubstr;

struct Pair {
  const char* text;
  long number;
};

sqlstl::basic_sqlostream<char>& operator<<(sqlstl::basic_sqlostream<char>& out, const Pair* pair) {
  return out << pair->text << pair->number;
}

class SqlStream : public testing::Test {
 protected:
  SqlStream() {
    rows(file, "PRAGMA journal_mode=WAL; CREATE TABLE T(A TEXT NOT NULL, B);");
    out.open(file.c_str(), 1000);
    in.open(file.c_str(), 1000);
    log.clear();
  }

  /// The texts logged since the last call.
  std::vector<std::string> logged() {
    const auto texts = log.texts();
    log.clear();
    return texts;
  }

  TemporaryFolder folder;
  LogCapture log;
  std::string file = folder.path("t.db");
  sqlstl::basic_sqlostream<char> out;
  sqlstl::basic_sqlistream<char> in;
};

TEST_F(SqlStream, WritesRowsAndReadsThemInTheirTypes) {
  constexpr long kLeast = std::numeric_limits<long>::min();
  const Pair pairs[] = {{"one", 1}, {nullptr, kLeast}};
  const Pair* const pointers[] = {&pairs[0], &pairs[1]};
  out.query("INSERT INTO T VALUES(?, ?);");
  std::copy(std::begin(pointers), std::end(pointers),
            sqlstl::sqlostream_iterator<const Pair*>(out));
  out << std::string("half") << 2 << sqlstl::step;
  EXPECT_TRUE(out.good());
  EXPECT_THAT(rows(file, "SELECT * FROM T;"),
              ElementsAre("one|1", "|" + std::to_string(kLeast), "half|2"));

  in.query("SELECT A, B, B / 4.0 FROM T WHERE B > 0 ORDER BY B;");
  std::vector<std::string> read;
  while (in.good()) {
    std::string text;
    int number = 0;
    double quarter = 0;
    in >> text >> number >> quarter;
    read.push_back(text + std::to_string(number) + " " + std::to_string(quarter));
    in.step();
  }
  EXPECT_TRUE(in.eof() && !in.fail());
  EXPECT_THAT(read, ElementsAre("one1 0.250000", "half2 0.500000"));
  EXPECT_THAT(logged(), ElementsAre());
}

TEST_F(SqlStream, PrepareFailuresSilenceAllUntilTheNextQuery) {
  sqlstl::basic_sqlostream<char> closed;
  closed.query("SELECT 1;");
  closed.exec("SELECT 1;");
  EXPECT_TRUE(closed.bad());
  log.clear();
  out.query("INSERT INTO NOWHERE VALUES(?);");
  EXPECT_TRUE(out.bad());
  EXPECT_EQ(log.levelOf("exec failed: 1 no such table: NOWHERE"), LogLevel::Error);
  log.clear();
  out << "x" << 1 << 2L << sqlstl::step;
  EXPECT_EQ(log.levelOf("step failed"), LogLevel::Error);
  in.query("SELECT nonsense;");
  in.step();
  EXPECT_TRUE(in.bad());
  out.query("INSERT INTO T VALUES(?, 1);");
  out << "x" << sqlstl::step;
  EXPECT_TRUE(out.good());
  out.exec("DELETE FROM T; DELETE FROM NOWHERE;");
  EXPECT_TRUE(out.bad());
  EXPECT_THAT(logged(), ElementsAre("step failed", HasSubstr("exec failed: 1 "), "step failed",
                                    "exec failed: 1 no such table: NOWHERE"));
  EXPECT_THAT(rows(file, "SELECT * FROM T;"), ElementsAre());
}

TEST_F(SqlStream, AStoppedStageCommitsNothingAndItsStatementsEnd) {
  std::stop_source stage;
  std::async(std::launch::async, [&] {
    stageThread::enter(stage.get_token());
    sqlstl::basic_sqlostream<char> own;
    own.open(file.c_str(), 1000);
    sqlstl::basic_sqlistream<char> endless;
    endless.open(file.c_str(), 1000);
    DatabaseFile status(file);
    sqlstl::basic_sqlostream<char> single;
    single.open(file.c_str(), 1000);
    Transaction transaction(own);
    own.exec("INSERT INTO T VALUES('too late', 1);");
    EXPECT_TRUE(own.good());
    const std::jthread stopping([&] {
      std::this_thread::sleep_for(20ms);
      stage.request_stop();
    });
    endless.query(
        "WITH RECURSIVE N(I) AS (SELECT 1 UNION ALL SELECT I + 1 FROM N) SELECT MAX(I) FROM N;");
    EXPECT_TRUE(endless.bad());
    EXPECT_FALSE(transaction.end());
    single.exec("INSERT INTO T VALUES('alone', 1);");
    EXPECT_TRUE(single.bad());
    EXPECT_FALSE(status.exec("INSERT INTO T VALUES('later', 1);"));
  }).get();
  EXPECT_THAT(log.texts("exec failed"), ElementsAre()) << "a stop is no error";
  EXPECT_THAT(rows(file, "SELECT * FROM T;"), ElementsAre());
}

TEST_F(SqlStream, AWaitForALockEndsInTimeAndOnAStopOfTheStage) {
  sqlstl::basic_sqlostream<char> holder;
  holder.open(file.c_str(), 0);
  holder.exec("BEGIN IMMEDIATE;");
  sqlstl::basic_sqlostream<char> hasty;
  hasty.open(file.c_str(), 60);
  const auto begin = std::chrono::steady_clock::now();
  hasty.exec("BEGIN IMMEDIATE;");
  const auto waited = std::chrono::steady_clock::now() - begin;
  EXPECT_TRUE(hasty.bad() && waited >= 50ms && waited < 10s);

  std::stop_source stage;
  auto blocked = std::async(std::launch::async, [&] {
    stageThread::enter(stage.get_token());
    sqlstl::basic_sqlostream<char> patient;
    patient.open(file.c_str(), 3600000);
    patient.exec("BEGIN IMMEDIATE;");
    return patient.bad();
  });
  EXPECT_EQ(blocked.wait_for(50ms), std::future_status::timeout);
  stage.request_stop();
  ASSERT_EQ(blocked.wait_for(1s), std::future_status::ready);
  EXPECT_TRUE(blocked.get());

  auto lucky = std::async(std::launch::async, [&] {
    sqlstl::basic_sqlostream<char> patient;
    patient.open(file.c_str(), 3600000);
    patient.exec("BEGIN IMMEDIATE;");
    return patient.good();
  });
  EXPECT_EQ(lucky.wait_for(20ms), std::future_status::timeout);
  holder.exec("COMMIT;");
  EXPECT_TRUE(lucky.get());
}

}  // namespace
}  // namespace orvel::test
