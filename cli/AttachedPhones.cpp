#include "cli/AttachedPhones.h"

#include <algorithm>

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

AttachedDevice phoneNamed(const std::string& serial, const std::vector<AttachedDevice>& phones) {
  const auto found = std::find_if(phones.begin(), phones.end(), [&](const auto& phone) {
    return phone.serial == serial || phone.deviceId == serial;
  });
  if (found != phones.end()) return *found;
  std::string attached;
  for (const AttachedDevice& phone : phones) {
    attached += (attached.empty() ? "" : ", ") + nameOf(phone) + " with " + phone.deviceId;
  }
  throw CommandError(CouldNotRun, "No attached device has the serial number " + serial + ". " +
                                      (attached.empty() ? "None is attached: plug it in."
                                                        : "Attached: " + attached + "."));
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
