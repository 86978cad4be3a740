#include <glib-unix.h>

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <iostream>

#include "hotplug/MediaMonitor.h"
#include "service/Configuration.h"

/// hotplug-events CONFIGURATION: prints a line of JSON for each report until its input ends.

namespace orvel::hotplug {
namespace {

void print(const QJsonObject& line) {
  std::cout << QJsonDocument(line).toJson(QJsonDocument::Compact).toStdString() << std::endl;
}

QString text(const std::string& bytes) {
  return QString::fromStdString(bytes);
}

void printMedium(const char* event, const Medium& medium) {
  QJsonArray partitions;
  for (const Partition& partition : medium.partitions) {
    partitions.append(
        QJsonArray{text(partition.mountPoint), text(partition.node), text(partition.label)});
  }
  print({{"event", event},
         {"id", text(medium.deviceId)},
         {"name", text(medium.name)},
         {"partitions", partitions}});
}

gboolean quit(gint /*descriptor*/, GIOCondition /*condition*/, gpointer loop) {
  g_main_loop_quit(static_cast<GMainLoop*>(loop));
  return G_SOURCE_REMOVE;
}

void run(const std::string& file) {
  const auto reading = service::readConfiguration(file);
  for (const std::string& problem : reading.problems) {
    print({{"event", "problem"}, {"text", text(problem)}});
  }
  const MediaMonitor monitor(reading.configuration.media,
                             {[](const Medium& medium) { printMedium("attached", medium); },
                              [](const Medium& medium) { printMedium("changed", medium); },
                              [](const std::string& id) {
                                print({{"event", "removed"}, {"id", text(id)}});
                              }});
  GMainLoop* loop = g_main_loop_new(nullptr, FALSE);
  g_unix_fd_add(0, static_cast<GIOCondition>(G_IO_IN | G_IO_HUP), quit, loop);
  g_main_loop_run(loop);
  g_main_loop_unref(loop);
}

}  // namespace
}  // namespace orvel::hotplug

int main(int, char** arguments) {
  orvel::hotplug::run(arguments[1]);
  return 0;
}
