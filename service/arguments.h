#pragma once

#include <glib.h>

#include <functional>
#include <string>

namespace orvel::service {

/// Throws BusError (InvalidArguments).
[[noreturn]] void refuseArgument(const std::string& text);

/// Calls `use` with each entry of a dictionary (a{sv}).
void forEachEntry(GVariant* dictionary,
                  const std::function<void(const std::string& name, GVariant* value)>& use);

/// The value as text. Throws BusError, which calls it "the `role` 'name'", when it is none.
std::string requireText(const char* role, const std::string& name, GVariant* value);

}  // namespace orvel::service
