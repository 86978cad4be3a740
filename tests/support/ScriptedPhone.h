#pragma once

#include <orvel/AttachedDevices.h>

#include <stop_token>
#include <string>
#include <thread>

#include "phones/scripted/ScriptedBus.h"
#include "phones/scripted/ScriptedDevice.h"

namespace orvel::test {

/// A described phone that is plugged in while it lives, with one track and one playlist to begin
/// with: "Best" has "/Music/A/s.mp3".
class ScriptedPhone {
 public:
  ScriptedPhone();
  ~ScriptedPhone();
  ScriptedPhone(const ScriptedPhone&) = delete;
  ScriptedPhone& operator=(const ScriptedPhone&) = delete;

  /// Plugs the phone in as `device` describes it now; returns its handle.
  t_handle plugIn();
  /// Replaces the description of the attached phone.
  void update() { live->update(device); }
  /// Pulls the phone out and plugs it in again, which changes its handle.
  void replug();
  [[nodiscard]] t_track_id idOf(const std::string& object) const { return live->idOf(object); }
  /// How often a call of the library or a function of the session was made since it was plugged in.
  [[nodiscard]] unsigned count(const std::string& name) const;

  scripted::ScriptedDevice device;
  std::shared_ptr<scripted::LiveDevice> live;  ///< the phone on the bus, once it is plugged in
  t_handle handle = 0;
};

/// The texts that a track has on a described device, in the order title, artist, album, genre,
/// composer.
DeviceTags tags(const std::string& title, const std::string& artist);

/// Tells every few milliseconds that a device is ready while it is attached, as a host does.
class Readiness {
 public:
  explicit Readiness(t_handle handle);

 private:
  std::jthread thread;
};

}  // namespace orvel::test
