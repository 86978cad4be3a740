#include "tests/support/ScriptedPhone.h"

#include <chrono>

#include <orvel/MtpDevice.h>

namespace orvel::test {

ScriptedPhone::ScriptedPhone() {
  device.serial = "phone1";
  device.addStorage("Internal");
  device.addTrack("/Music/A/s.mp3").tags = tags("T", "X");
  device.addPlaylist("/Best", {"/Music/A/s.mp3"});
}

ScriptedPhone::~ScriptedPhone() {
  scripted::clear();
  attachedDevices();
}

t_handle ScriptedPhone::plugIn() {
  live = scripted::attach(device);
  handle = attachedDevices().back().handle;
  return handle;
}

void ScriptedPhone::replug() {
  live = scripted::replug(*live);
  handle = attachedDevices().back().handle;
}

unsigned ScriptedPhone::count(const std::string& name) const {
  const auto counts = live->journal().counts;
  const auto found = counts.find(name);
  return found == counts.end() ? 0 : found->second;
}

DeviceTags tags(const std::string& title, const std::string& artist) {
  return {title, artist, "Album", "Genre", "Composer", 3};
}

Readiness::Readiness(t_handle handle)
    : thread([handle](const std::stop_token& stopped) {
        while (!stopped.stop_requested() && isAttached(handle)) {
          MtpDevice::instance().setDeviceReady(handle);
          std::this_thread::sleep_for(std::chrono::milliseconds(5));
        }
      }) {}

}  // namespace orvel::test
