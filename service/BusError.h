#pragma once

#include <gio/gio.h>

#include <functional>
#include <stdexcept>
#include <string>

namespace orvel::service {

/// Why a call fails, for its caller.
class BusError : public std::runtime_error {
 public:
  enum class Kind { InvalidArguments, UnknownDevice, NoDatabase, LimitsExceeded, Failed };

  BusError(Kind errorKind, const std::string& text) : std::runtime_error(text), kind(errorKind) {}

  const Kind kind;
};

/// Answers `call` with the named error that fits the exception. Any thread.
void refuse(GDBusMethodInvocation* call, const std::exception& reason);

/// Runs `work`, which answers `call` or throws. Always TRUE, for handlers of GDBus.
gboolean answer(GDBusMethodInvocation* call, const std::function<void()>& work);

}  // namespace orvel::service
