#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

struct libusb_context;
struct libusb_device;

namespace orvel {

/// The address of an attached device. Changes with every attachment.
struct UsbAddress {
  std::uint32_t bus = 0;
  std::uint8_t device = 0;

  bool operator==(const UsbAddress&) const = default;
  /// For example "001-004".
  [[nodiscard]] std::string path() const;
  /// Parses the form of `path`; nothing for any other text.
  static std::optional<UsbAddress> parse(const std::string& path);
};

/// A snapshot of the USB bus, taken at construction. Never waits for a device. Exists because
/// libmtp learns of changes from udev: late, or never where no udev runs.
class UsbBus {
 public:
  /// Throws std::runtime_error with a text for people when this system gives no access to USB.
  UsbBus();
  ~UsbBus();
  UsbBus(const UsbBus&) = delete;
  UsbBus& operator=(const UsbBus&) = delete;

  [[nodiscard]] bool has(const UsbAddress& address) const { return find(address) != nullptr; }
  /// Why a device cannot be opened, with the remedy, for people; "" when nothing prevents it. Ask
  /// before libmtp opens the device: if that fails, libmtp neither releases it nor says why.
  [[nodiscard]] std::string obstacle(const UsbAddress& address) const;

 private:
  /// Null when there is none.
  [[nodiscard]] libusb_device* find(const UsbAddress& address) const;

  libusb_context* context = nullptr;
  libusb_device** devices = nullptr;
  std::ptrdiff_t count = 0;
};

}  // namespace orvel
