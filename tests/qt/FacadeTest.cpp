#include <gmock/gmock.h>
#include <orvel/MtpDevice.h>
#include <orvel/Orvel.h>
#include <orvel/OrvelQTProxy.h>

#include <QCoreApplication>
#include <QThread>
#include <atomic>
#include <optional>
#include <string_view>
#include <thread>

#include "base/Log.h"
#include "qt/FacadeListener.h"
#include "tests/support/DatabaseFolderFixture.h"
#include "tests/support/LogCapture.h"

namespace orvel::test {
namespace {

using testing::ElementsAre;

/// A host: a Qt main loop on the test's thread and a running controller behind the facade.
class Facade : public DatabaseFolderFixture {
 protected:
  Facade() {
    controller.launch();
    controller.start();
    facade.setController(&controller);
  }
  ~Facade() override { facade.setController(nullptr); }

  template <class Condition>
  static bool processUntil(Condition condition) {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(20);
    while (!condition() && std::chrono::steady_clock::now() < deadline) {
      QCoreApplication::processEvents(QEventLoop::AllEvents, 5);
    }
    return condition();
  }
  QString stick(const std::string& name) const {
    temporary.file(name + "/a.m4a");
    temporary.file(name + "/p.m3u", "a.m4a\n");
    return QString::fromStdString(temporary.path(name));
  }
  bool allEnded() {
    return processUntil([&] { return controller.liveRequests() == 0; });
  }

  int argumentCount = 1;
  char name[6] = "tests";
  char* arguments[2] = {name, nullptr};
  QCoreApplication application{argumentCount, arguments};
  LogCapture log;
  OrvelQTProxy& facade = OrvelQTProxy::instance();
  Orvel controller;
  QObject context;
};

TEST_F(Facade, SmallSlotsReachTheirTargets) {
  EXPECT_EQ(facade.indexingProgress("/m"), 0);
  facade.setDeviceReady(4000000000U);
  EXPECT_TRUE(MtpDevice::instance().isDeviceReady(4000000000U));
  facade.prioritizeMsdDevice(QString::fromUtf8("d\xC3\xA9v"), "/m");
  facade.prioritizeMtpDevice("dev1", 7);
  EXPECT_THAT(log.texts("dev1"),
              ElementsAre("dev1", "Orvel::prioritizeOperation dev1 mtp-folder://dev1 1"));
  EXPECT_EQ(log.count("Orvel::prioritizeOperation d\xC3\xA9v /m 0"), 1);
}

TEST_F(Facade, SignalsReachAHostOnItsOwnThreadAsUtf8) {
  QStringList received;
  const auto receive = [&](const QString& mount) {
    EXPECT_EQ(QThread::currentThread(), context.thread());
    received << mount;
  };
  QObject::connect(&facade, &OrvelQTProxy::indexingFinished, &context, receive);
  QObject::connect(&facade, &OrvelQTProxy::contentModified, &context, receive);
  std::thread([] {
    FacadeListener::instance().indexingFinished("/media/M\xC3\xBCsik \xF0\x9F\x8E\xB5");
    FacadeListener::instance().contentModified("/media/\xFF");
  }).join();
  EXPECT_TRUE(received.isEmpty());
  QCoreApplication::processEvents();
  EXPECT_EQ(received, QStringList({QString::fromUtf8("/media/M\xC3\xBCsik \xF0\x9F\x8E\xB5"),
                                   QString::fromUtf8("/media/\xEF\xBF\xBD")}));
}

TEST_F(Facade, AReceiverMayCallTheFacadeFromWhereverItIsCalled) {
  const QString first = stick("f\xC3\xBCrst");
  const QString second = stick("second");
  const QString third = stick("third");
  QStringList ended;
  std::vector<QString> existing;
  QObject::connect(&facade, &OrvelQTProxy::databaseExists, &context,
                   [&](const QString& device, const QString& mount) {
                     existing.push_back(device + mount);
                     facade.startIndexing("dev2", second, true);
                     facade.prioritizeMsdDevice("dev2", second);
                   });
  // On a stage's thread: the call must not stop the thread that it comes from.
  QObject::connect(
      &facade, &OrvelQTProxy::indexingFinished, &context,
      [&](const QString& mount) {
        if (mount == second) facade.startIndexing("dev3", third, true);
      },
      Qt::DirectConnection);
  QObject::connect(&facade, &OrvelQTProxy::indexingFinished, &context,
                   [&](const QString& mount) { ended << mount; });
  facade.startIndexing("dev", first, true);
  ASSERT_TRUE(allEnded());
  EXPECT_TRUE(existing.empty());
  log.clear();
  facade.startIndexing("dev", first, true);
  ASSERT_TRUE(processUntil([&] { return ended.contains(third); }) && allEnded());
  EXPECT_THAT(existing, ElementsAre("dev" + first));
  QCoreApplication::processEvents();
  ended.sort();
  EXPECT_EQ(ended, QStringList({first, first, second, third}));
  EXPECT_THAT(log.texts("enqueueNewOperation dev"), testing::SizeIs(3));
  for (const char* device : {"dev", "dev2", "dev3"}) {
    EXPECT_EQ(rowsOf(device, "SELECT COUNT(*) FROM SONGS;")[0], "1");
  }
}

TEST_F(Facade, AReceiverOnAnIndexerThreadSupersedesTheRequestThatItRunsOn) {
  const QString mount = stick("stick");
  std::atomic<int> ended{0};
  QObject::connect(
      &facade, &OrvelQTProxy::indexingFinished, &context,
      [&](const QString& finished) {
        if (++ended > 1) return;
        controller.enqueueNewOperation(OperationType::MassStorage, "dev", 0, finished.toStdString(),
                                       true);
      },
      Qt::DirectConnection);
  facade.startIndexing("dev", mount, true);
  ASSERT_TRUE(processUntil([&] { return ended == 2; }) && allEnded());
  EXPECT_EQ(manager.getStatus("dev", mount.toStdString()), "OK");
}

TEST_F(Facade, StopsFromWithinAReceiver) {
  const QString mount = stick("stick");
  facade.startIndexing("dev", mount, true);
  ASSERT_TRUE(allEnded());
  QObject::connect(&facade, &OrvelQTProxy::databaseExists, &context, [&] { controller.stop(); });
  facade.startIndexing("dev", mount, true);
  facade.startIndexing("dev2", mount, true);
  EXPECT_THAT(log.texts("SYSTEM is Stopping cannot start it again Orvel"), testing::SizeIs(1));
  EXPECT_EQ(controller.liveRequests(), 1U);
}

TEST_F(Facade, AQueuedCallThatFindsNoControllerDoesNothing) {
  temporary.file("stick/a.m4a");
  const QString mount = QString::fromStdString(temporary.path("stick"));
  std::atomic<bool> called{false};
  QObject::connect(
      &facade, &OrvelQTProxy::indexingFinished, &context,
      [&] {
        facade.startIndexing("dev2", mount, true);
        called = true;
      },
      Qt::DirectConnection);
  facade.startIndexing("dev", mount, true);
  while (!called) std::this_thread::yield();  // no event loop: the call stays queued
  facade.setController(nullptr);
  QCoreApplication::processEvents();
  EXPECT_THAT(log.texts("enqueueNewOperation dev2"), testing::IsEmpty());
}

TEST_F(Facade, NoRequestIsAcceptedOnceStopIsUnderWay) {
  // Another thread makes a request after the pipelines were stopped, before the controller itself
  // is.
  setLogSink(
      [](void* user, LogLevel, const char*, int, const char* text) {
        if (!std::string_view(text).starts_with("Orvel stop ")) return;
        auto& stopped = *static_cast<Orvel*>(user);
        std::thread([&] {
          stopped.enqueueNewOperation(OperationType::MassStorage, "late", 0, "/m", true);
        }).join();
      },
      &controller);
  controller.stop();
  EXPECT_EQ(controller.liveRequests(), 0U);
  EXPECT_FALSE(controller.progressOf("/m")) << "refused";
}

}  // namespace
}  // namespace orvel::test
