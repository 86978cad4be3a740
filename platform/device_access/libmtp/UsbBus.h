#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace orvel {

/// Where a device is attached; another place each time.
struct UsbAddress {
  std::uint32_t bus = 0;
  std::uint8_t device = 0;

  bool operator==(const UsbAddress&) const = default;
  /// As "001-004".
  [[nodiscard]] std::string path() const;
  /// Nothing unless `path` has that form.
  static std::optional<UsbAddress> parse(const std::string& path);
};

/// The USB bus itself, without libmtp. Any thread; nothing waits for a device.
namespace usbBus {

/// Throws std::runtime_error with a text for people when this system has no USB that can be used.
void requireUsable();
bool isPresent(const UsbAddress& address);
/// Why a device that is present cannot be opened, with the remedy, for people; "" when nothing
/// stands in the way. Asked before libmtp opens it, since that does not give up what it has opened
/// when it fails, nor tell why.
std::string obstacle(const UsbAddress& address);

}  // namespace usbBus

}  // namespace orvel
