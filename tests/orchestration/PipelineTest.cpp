#include <gmock/gmock.h>

#include <thread>

#include "base/Log.h"
#include "db/SqlStream.h"
#include "orchestration/MSDPipeline.h"
#include "orchestration/MtpPipeline.h"
#include "tests/support/DatabaseFolderFixture.h"
#include "tests/support/LogCapture.h"

namespace orvel::test {
namespace {

using testing::ElementsAre;
using testing::SizeIs;

/// A pipeline with request 5 for dev at the temporary folder, whose threads do not run.
class PipelineTest : public DatabaseFolderFixture {
 protected:
  PipelineTest() {
    request.deviceId = "dev";
    request.mountPoint = mount;
    request.opId = 5;
    pipeline.enqueueNewOperation(request, true);
    log.clear();
  }
  void result(int id, bool last) { result(pipeline, id, last); }
  void result(MSDPipeline& to, int id, bool last) {
    EXPECT_EQ(to.doOperation(boost::make_shared<Block<void>>(Operation(id, 0, "dev", mount, last))),
              nullptr);
  }

  std::string mount = temporary.path();
  OrvelOperation request;
  LogCapture log;
  MSDPipeline pipeline{nullptr};
};

TEST_F(PipelineTest, FinishesWithTheThirdLastBlockOfItsOwnRequest) {
  result(5, true);
  result(5, false);
  result(4, true);
  result(5, true);
  EXPECT_EQ(log.levelOf("Received a non LAST block! WE SHOULD NEVER BE HERE"), LogLevel::Error);
  EXPECT_EQ(log.levelOf("OPERATION MISMATCH!!"), LogLevel::Error);
  EXPECT_THAT(log.texts("Result for"), ElementsAre("Result for id 5: 1", "Result for id 5: 2"));
  EXPECT_EQ(manager.getStatus("dev", mount), "");
  rowsOf("dev", "INSERT INTO PLAYLISTS(PLAYPATH, TRACKID) VALUES('p', 'gone');");
  result(5, true);
  EXPECT_EQ(manager.getStatus("dev", mount), "OK");
  EXPECT_THAT(rowsOf("dev", "SELECT * FROM PLAYLISTS;"), SizeIs(0));
  EXPECT_THAT(log.texts("End operation for id 5 that took "), SizeIs(1));
}

TEST_F(PipelineTest, ARequestThatCouldNotPrepareItsDatabaseIsNotComplete) {
  sqlstl::basic_sqlostream<char> other;
  other.open(databaseOf("dev").c_str(), 0);
  other.exec("BEGIN IMMEDIATE;");
  request.opId = 6;
  pipeline.enqueueNewOperation(request, true);
  other.exec("ROLLBACK;");
  for (int branch = 0; branch < 3; ++branch) result(6, true);
  EXPECT_EQ(manager.getStatus("dev", mount), "PROGRESS");
  EXPECT_THAT(pipeline.progress->snapshot().leftUndone,
              ElementsAre(testing::StartsWith("the database could not be prepared")));
}

TEST_F(PipelineTest, ACheckDuringTheRequestCountsOnlyWhereNobodyHasWrittenSince) {
  for (int branch = 0; branch < 3; ++branch) result(5, true);
  for (const bool isDamaged : {false, true}) {
    MSDPipeline next{nullptr};
    next.start();
    next.enqueueNewOperation(request, true);
    std::this_thread::sleep_for(std::chrono::milliseconds(100));  // the check has ended by then
    if (isDamaged) {
      rowsOf("dev",
             "PRAGMA writable_schema=ON; DELETE FROM sqlite_schema WHERE tbl_name = 'ALBUMS';");
    }
    for (int branch = 0; branch < 3; ++branch) result(next, 5, true);
    EXPECT_EQ(manager.getStatus("dev", mount), isDamaged ? "" : "OK");
    EXPECT_EQ(next.progress->snapshot().status, isDamaged ? "PROGRESS" : "OK");
  }
}

TEST_F(PipelineTest, ADatabaseThatCannotBeOpenedAtTheEndFailsTheRequest) {
  result(5, true);
  result(5, true);
  manager.setDirectory(temporary.file("file"));
  EXPECT_THROW(result(5, true), std::runtime_error);
  EXPECT_EQ(pipeline.progress->snapshot().phase, RequestPhase::Failed);
}

}  // namespace
}  // namespace orvel::test
