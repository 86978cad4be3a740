#pragma once

#include <gio/gio.h>

#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <vector>

namespace orvel::service {

/// The pauses that clients asked for. One ends with its cookie, or with its client. Main loop only.
class Pauses {
 public:
  /// @param changedCall  called when a pause has begun or ended
  Pauses(GDBusConnection* bus, std::function<void()> changedCall);
  ~Pauses();
  Pauses(const Pauses&) = delete;
  Pauses& operator=(const Pauses&) = delete;

  /// Begins a pause and returns its cookie. Throws BusError when the client has too many.
  std::uint32_t begin(const std::string& client, const std::string& reason);
  /// Ends a pause. Throws BusError when the client has none with this cookie.
  void end(const std::string& client, std::uint32_t cookie);

  [[nodiscard]] bool areNone() const { return pauses.empty(); }
  [[nodiscard]] std::vector<std::string> reasons() const;

 private:
  struct Pause {
    std::string client;
    std::string reason;
    guint watch;  ///< tells when the client leaves the bus
  };

  void clientLeft(const std::string& client);

  GDBusConnection* const connection;
  const std::function<void()> changed;
  std::map<std::uint32_t, Pause> pauses;  ///< by cookie
  std::uint32_t lastCookie = 0;
};

}  // namespace orvel::service
