#include "cli/ScriptedPhones.h"

#include "phones/scripted/DeviceScript.h"
#include "phones/scripted/ScriptedBus.h"

namespace orvel::cli {

const bool kPhonesAreScripted = true;

void attachScriptedPhones(const std::string& file) {
  for (const auto& device : scripted::readDeviceScript(file)) scripted::attach(device);
}

}  // namespace orvel::cli
