#include "cli/AttachedPhones.h"

#include <algorithm>
#include <iterator>

#include "cli/ExitStatus.h"
#include "cli/ScriptedPhones.h"

namespace orvel::cli {

std::vector<AttachedDevice> findPhones(const std::optional<std::string>& scriptedFile) {
  if (kPhonesAreScripted && !scriptedFile) {
    throw CommandError(
        CouldNotRun,
        "This build has no libmtp and reaches no real devices. Build it where libmtp is"
        " installed, or describe devices with --scripted FILE.");
  }
  try {
    if (scriptedFile) attachScriptedPhones(*scriptedFile);
    return attachedDevices();
  } catch (const std::runtime_error& error) {
    throw CommandError(CouldNotRun, error.what());
  }
}

AttachedDevice phoneNamed(const std::string& name, const std::vector<AttachedDevice>& phones) {
  std::vector<NamedDevice> names;
  std::transform(phones.begin(), phones.end(), std::back_inserter(names), namesOf);
  return phones[chooseDevice(name, names, "attached", kNoPhone)];
}

NamedDevice namesOf(const AttachedDevice& phone) {
  return {phone.deviceId, {nameOf(phone), phone.serial, phone.model}};
}

std::string nameOf(const AttachedDevice& phone) {
  std::string name;
  for (const std::string& part : {phone.maker, phone.model}) {
    if (!part.empty()) name += (name.empty() ? "" : " ") + part;
  }
  if (name.empty()) return "Device " + phone.deviceId;
  return phone.serial.empty() ? name : name + " (" + phone.serial + ")";
}

std::string lockedText(const AttachedDevice& phone) {
  return nameOf(phone) + " shows no storage. Unlock it and allow file transfer.";
}

}  // namespace orvel::cli
