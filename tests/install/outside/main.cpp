// A host outside of the project: indexes one folder against the installed library.
#include <orvel/Orvel.h>
#include <orvel/OrvelQTProxy.h>
#include <orvel/Settings.h>

#include <QCoreApplication>
#include <QTimer>
#include <cstdio>

int main(int argc, char** argv) {
  QCoreApplication application(argc, argv);
  orvel::Settings settings;
  settings.databaseDirectory = argv[2];
  orvel::configure(settings);
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
