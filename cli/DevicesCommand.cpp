#include "cli/DevicesCommand.h"

#include <orvel/Settings.h>

#include <QDateTime>
#include <QJsonArray>
#include <algorithm>
#include <iostream>

#include "cli/AttachedPhones.h"
#include "cli/ExitStatus.h"
#include "cli/JsonText.h"
#include "cli/KnownDevices.h"
#include "cli/ListFormat.h"
#include "cli/LogOutput.h"
#include "cli/OwnOutput.h"
#include "cli/ScriptedPhones.h"
#include "cli/commandOptions.h"
#include "host/DeviceId.h"

namespace orvel::cli {

namespace {

struct DevicesOptions {
  std::string databaseFolder;
  std::optional<std::string> scriptedFile;
  bool json = false;
};

/// The attached device's entry, which is added if nothing is known of it.
KnownDevice& entryOf(const std::string& id, std::vector<KnownDevice>& devices) {
  const auto known = std::find_if(devices.begin(), devices.end(),
                                  [&](const KnownDevice& device) { return device.id == id; });
  if (known != devices.end()) return *known;
  devices.emplace_back();
  devices.back().id = id;
  return devices.back();
}

void addSticks(std::vector<KnownDevice>& devices) {
  for (const host::MountedMedium& medium : host::mountedMedia()) {
    KnownDevice& device = entryOf(medium.deviceId, devices);
    if (device.database.empty()) device.partitions.push_back({medium.mountPoint, ""});
    device.label = medium.label;
    device.kind = "stick";
    device.isAttached = true;
  }
}

/// Says why, and goes on, when phones cannot be looked for.
void addPhones(const DevicesOptions& options, std::vector<KnownDevice>& devices) try {
  if (kPhonesAreScripted && !options.scriptedFile) return;
  for (const AttachedDevice& phone : findPhones(options.scriptedFile)) {
    KnownDevice& device = entryOf(phone.deviceId, devices);
    device.label = nameOf(phone);
    device.kind = "phone";
    device.isAttached = true;
  }
} catch (const CommandError& error) {
  printError(error.what());
}

QJsonObject jsonOf(const KnownDevice& device) {
  QJsonArray mountPoints;
  for (const browse::StoredPartition& partition : device.partitions) {
    mountPoints.append(jsonString(partition.mountPoint));
  }
  const QDateTime indexed = QDateTime::fromSecsSinceEpoch(device.lastIndexed).toUTC();
  return {{"device_id", jsonString(device.id)},
          {"label", jsonString(device.label)},
          {"kind", jsonString(device.kind)},
          {"attached", device.isAttached},
          {"mount_points", mountPoints},
          {"last_indexed", device.lastIndexed == 0 ? QJsonValue() : indexed.toString(Qt::ISODate)},
          {"database", jsonTextOrNull(device.database)}};
}

void printTable(const std::vector<KnownDevice>& devices) {
  using Kind = browse::Column::Kind;
  const auto table = ListFormat::make(ListFormat::Kind::Table,
                                      {{"label", Kind::Text},
                                       {"kind", Kind::Text},
                                       {"attached", Kind::Text},
                                       {"last indexed", Kind::Text},
                                       {"id", Kind::Text},
                                       {"database", Kind::Path}},
                                      std::cout, outputColumns());
  for (const KnownDevice& device : devices) {
    const std::string indexed =
        device.lastIndexed == 0 ? "never" : readableTime(device.lastIndexed);
    table->row({std::string_view(device.label), std::string_view(device.kind),
                std::string_view(device.isAttached ? "yes" : "no"), std::string_view(indexed),
                std::string_view(device.id), std::string_view(device.database)});
  }
  table->end();
}

int runDevices(const DevicesOptions& options) {
  Settings settings;
  settings.logThreshold = LogLevel::Error;  // a phone that cannot be opened is listed all the same
  divertLibmtp(false);
  ProgressLine line(false);
  const LogOutput log(line, settings);
  const PhoneRelease release;
  std::vector<KnownDevice> devices = knownDevices(options.databaseFolder);
  addSticks(devices);
  addPhones(options, devices);
  if (options.json) {
    std::cout << jsonArray(devices, jsonOf) << "\n";
  } else if (devices.empty()) {
    std::cout << "No device is attached, and none has been indexed into " << options.databaseFolder
              << ".\n";
  } else {
    printTable(devices);
  }
  finishOutput();
  return Done;
}

}  // namespace

void addDevices(CLI::App& app, Command& command) {
  const auto options = std::make_shared<DevicesOptions>();
  CLI::App& verb = addCommand(app, "devices", "Print the sticks and phones, attached or known",
                              options, runDevices, command);
  verb.add_flag("--json", options->json, "Print one JSON array with an object for each");
  addScripted(verb, options->scriptedFile);
  addDatabaseFolder(verb, options->databaseFolder);
}

}  // namespace orvel::cli
