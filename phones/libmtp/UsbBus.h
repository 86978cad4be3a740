#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

struct libusb_context;
struct libusb_device;

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

/// The USB bus as it is at this moment. Nothing waits for a device. libmtp's own picture of the bus
/// follows what udev tells, late or, where no udev runs, never.
class UsbBus {
 public:
  /// Throws std::runtime_error with a text for people when this system has no USB that can be used.
  UsbBus();
  ~UsbBus();
  UsbBus(const UsbBus&) = delete;
  UsbBus& operator=(const UsbBus&) = delete;

  [[nodiscard]] bool has(const UsbAddress& address) const { return find(address) != nullptr; }
  /// Why a device cannot be opened, with the remedy, for people; "" when nothing stands in the way.
  /// Asked before libmtp opens it, since that does not give up what it has opened when it fails,
  /// nor tell why.
  [[nodiscard]] std::string obstacle(const UsbAddress& address) const;

 private:
  /// Null when there is none.
  [[nodiscard]] libusb_device* find(const UsbAddress& address) const;

  libusb_context* context = nullptr;
  libusb_device** devices = nullptr;
  std::ptrdiff_t count = 0;
};

}  // namespace orvel
