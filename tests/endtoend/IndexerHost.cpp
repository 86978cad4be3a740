#include "tests/endtoend/IndexerHost.h"

#include <glib.h>

#include <chrono>
#include <future>
#include <utility>

#include "tests/support/ScriptedPhone.h"
#include "tests/support/waitUntil.h"

namespace orvel::test {

IndexerHost::IndexerHost() {
  OrvelQTProxy& facade = OrvelQTProxy::instance();
  controller->launch();
  controller->start();
  facade.setController(controller.get());
  const auto remembers = [this](const char* name) {
    return [this, name](const QString& mountPoint) {
      remember(std::string(name) + " " + mountPoint.toStdString());
    };
  };
  QObject::connect(&facade, &OrvelQTProxy::crawlingFinished, &receiver,
                   remembers("crawlingFinished"), Qt::DirectConnection);
  QObject::connect(&facade, &OrvelQTProxy::indexingFinished, &receiver,
                   remembers("indexingFinished"), Qt::DirectConnection);
  QObject::connect(&facade, &OrvelQTProxy::contentModified, &receiver, remembers("contentModified"),
                   Qt::DirectConnection);
  QObject::connect(
      &facade, &OrvelQTProxy::databaseExists, &receiver,
      [this](const QString& device, const QString& mountPoint) {
        remember("databaseExists " + device.toStdString() + " " + mountPoint.toStdString());
      },
      Qt::DirectConnection);
}

IndexerHost::~IndexerHost() {
  controller->stop();
  controller->join();
  OrvelQTProxy::instance().setController(nullptr);
  OrvelQTProxy::instance().disconnect(&receiver);
}

void IndexerHost::renewController() {
  controller->stop();
  controller->join();
  controller = std::make_unique<Orvel>();
  controller->launch();
  controller->start();
  OrvelQTProxy::instance().setController(controller.get());
}

void IndexerHost::index(const std::string& device, const std::string& mountPoint, bool isFirst) {
  start(device, mountPoint, isFirst);
  ASSERT_TRUE(waitUntilIdle());
}

void IndexerHost::start(const std::string& device, const std::string& mountPoint, bool isFirst) {
  OrvelQTProxy::instance().startIndexing(QString::fromStdString(device),
                                         QString::fromStdString(mountPoint), isFirst);
}

void IndexerHost::indexPhone(t_handle handle) {
  const Readiness readiness(handle);
  startPhone(handle);
  ASSERT_TRUE(waitUntilIdle());
}

void IndexerHost::startPhone(t_handle handle) {
  OrvelQTProxy::instance().startMtpIndexing("phone1", handle, true);
}

std::vector<std::string> IndexerHost::everything(const std::string& device) {
  return rowsOf(device,
                "SELECT * FROM SONGS; SELECT * FROM ARTISTS; SELECT * FROM ALBUMS;"
                "SELECT * FROM GENRES; SELECT * FROM COMPOSERS; SELECT * FROM DIRECTORIES;"
                "SELECT * FROM PLAYLISTS;");
}

bool IndexerHost::waitUntilIdle(int seconds) {
  return waitUntil([this] { return controller->liveRequests() == 0; },
                   std::chrono::seconds(seconds));
}

bool IndexerHost::onMainLoop(std::function<void()> call, std::chrono::seconds limit) {
  std::packaged_task<void()> task(std::move(call));
  std::future<void> done = task.get_future();
  g_main_context_invoke(
      nullptr,
      [](gpointer data) -> gboolean {
        (*static_cast<std::packaged_task<void()>*>(data))();
        return G_SOURCE_REMOVE;
      },
      &task);
  const bool inTime = done.wait_for(limit) == std::future_status::ready;
  if (!inTime) done.wait();
  return inTime;
}

std::vector<std::string> IndexerHost::takeSignals() {
  const std::lock_guard lock(mutex);
  return std::exchange(received, {});
}

std::vector<std::string> IndexerHost::takeFinished() {
  constexpr std::string_view kFinished = "indexingFinished ";
  std::vector<std::string> finished;
  for (const std::string& signal : takeSignals()) {
    if (signal.starts_with(kFinished)) finished.push_back(signal.substr(kFinished.size()));
  }
  return finished;
}

void IndexerHost::remember(const std::string& signal) {
  const std::lock_guard lock(mutex);
  received.push_back(signal);
}

}  // namespace orvel::test
