#include "cli/MtpListCommand.h"

#include <orvel/Settings.h>

#include <QJsonArray>
#include <QJsonObject>
#include <iostream>

#include "cli/AttachedPhones.h"
#include "cli/DisplayText.h"
#include "cli/ExitStatus.h"
#include "cli/JsonText.h"
#include "cli/LogOutput.h"
#include "cli/OwnOutput.h"
#include "cli/Summary.h"
#include "cli/commandOptions.h"

namespace orvel::cli {

namespace {

struct MtpListOptions {
  bool json = false;
  std::optional<std::string> scriptedFile;
};

QJsonObject jsonOf(const DeviceStorage& storage) {
  return {{"id", qint64{storage.id}},
          {"description", jsonString(storage.description)},
          {"capacity_bytes", static_cast<qint64>(storage.capacityBytes)},
          {"free_bytes", static_cast<qint64>(storage.freeBytes)}};
}

QJsonObject jsonOfPhone(const AttachedDevice& phone) {
  QJsonArray storages;
  for (const DeviceStorage& storage : phone.storages) storages.append(jsonOf(storage));
  return {{"handle", qint64{phone.handle}},
          {"maker", jsonString(phone.maker)},
          {"model", jsonString(phone.model)},
          {"serial", jsonString(phone.serial)},
          {"device_id", jsonString(phone.deviceId)},
          {"error", jsonTextOrNull(phone.error)},
          {"storages", storages}};
}

void print(const DeviceStorage& storage) {
  std::cout << "  Storage    " << displayText(storage.description) << ", "
            << readableSize(static_cast<std::int64_t>(storage.freeBytes)) << " free of "
            << readableSize(static_cast<std::int64_t>(storage.capacityBytes)) << "\n";
}

void print(const AttachedDevice& phone) {
  std::cout << displayText(nameOf(phone)) << "\n  Handle     " << phone.handle << "\n  Device id  "
            << displayText(phone.deviceId) << "\n";
  for (const DeviceStorage& storage : phone.storages) print(storage);
  if (!phone.error.empty()) {
    std::cout << "  Cannot be read: " << displayText(phone.error) << "\n";
  } else if (phone.storages.empty()) {
    std::cout << "  Locked: it shows no storage. Unlock it and allow file transfer.\n";
  }
}

int runMtpList(const MtpListOptions& options) {
  Settings settings;
  settings.logThreshold = LogLevel::Error;  // the list itself tells about each device's problems
  divertLibmtp(false);
  ProgressLine line(false);
  const LogOutput log(line, settings);
  const PhoneRelease release;
  const std::vector<AttachedDevice> phones = findPhones(options.scriptedFile);
  if (options.json) {
    std::cout << jsonArray(phones, jsonOfPhone) << "\n";
  } else {
    if (phones.empty()) std::cout << kNoPhone << "\n";
    for (const AttachedDevice& phone : phones) print(phone);
  }
  finishOutput();
  return Done;
}

}  // namespace

void addMtp(CLI::App& app, Command& command) {
  const auto options = std::make_shared<MtpListOptions>();
  CLI::App& verb = addCommand(app, "mtp", "Print the attached phones: 'orvel mtp list'", options,
                              runMtpList, command);
  verb.add_option("list", "The only thing to do")
      ->required()
      ->check(CLI::IsMember({"list"}).description(""));
  verb.add_flag("--json", options->json, "Print one JSON array with an object for each");
  addScripted(verb, options->scriptedFile);
}

}  // namespace orvel::cli
