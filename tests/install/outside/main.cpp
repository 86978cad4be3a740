// A host outside of the project: indexes one folder against the installed library.
#include <QCoreApplication>
#include <QTimer>
#include <cstdio>

#include "db/DatabaseMgr.h"
#include "orchestration/Orvel.h"
#include "qt/OrvelQTProxy.h"

int main(int argc, char** argv) {
  QCoreApplication application(argc, argv);
  orvel::DatabaseMgr::instance().setDirectory(argv[2]);
  OrvelQTProxy& facade = OrvelQTProxy::instance();
  orvel::Orvel controller;
  controller.launch();
  controller.start();
  facade.setController(&controller);
  facade.startIndexing("outside", argv[1], true);
  QTimer poll;
  QObject::connect(&poll, &QTimer::timeout, &application, [&] {
    if (controller.liveRequests() == 0) QCoreApplication::quit();
  });
  poll.start(5);
  QCoreApplication::exec();
  controller.stop();
  controller.join();
  const auto progress = controller.progressOf(argv[1]);
  std::printf("%s %u\n", progress->status.c_str(), progress->songs.stored);
  return progress->status == "OK" && progress->songs.stored == 1 ? 0 : 1;
}
