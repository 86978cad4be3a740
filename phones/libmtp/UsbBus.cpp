#include "phones/libmtp/UsbBus.h"

#include <libusb-1.0/libusb.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <memory>
#include <span>
#include <stdexcept>

namespace orvel {

std::string UsbAddress::path() const {
  std::array<char, 16> text{};
  std::snprintf(text.data(), text.size(), "%03u-%03u", unsigned{bus}, unsigned{device});
  return text.data();
}

std::optional<UsbAddress> UsbAddress::parse(const std::string& path) {
  unsigned bus = 0;
  unsigned device = 0;
  if (std::sscanf(path.c_str(), "%u-%u", &bus, &device) != 2) return std::nullopt;
  const UsbAddress parsed{bus, static_cast<std::uint8_t>(device)};
  return parsed.path() == path ? std::optional(parsed) : std::nullopt;
}

namespace {

struct Close {
  void operator()(libusb_device_handle* handle) const { libusb_close(handle); }
};
using Handle = std::unique_ptr<libusb_device_handle, Close>;

struct FreeConfig {
  void operator()(libusb_config_descriptor* config) const { libusb_free_config_descriptor(config); }
};
using Config = std::unique_ptr<libusb_config_descriptor, FreeConfig>;

bool carriesMedia(const libusb_interface_descriptor& setting) {
  // Two bulk endpoints and one for events.
  constexpr int kEndpoints = 3;
  if (setting.bNumEndpoints != kEndpoints) return false;
  const std::span endpoints(setting.endpoint, kEndpoints);
  return std::count_if(endpoints.begin(), endpoints.end(), [](const auto& endpoint) {
           return (endpoint.bmAttributes & LIBUSB_TRANSFER_TYPE_MASK) == LIBUSB_TRANSFER_TYPE_BULK;
         }) == kEndpoints - 1;
}

/// The number of the interface that libmtp will use.
std::optional<int> mediaInterface(const libusb_config_descriptor& config) {
  for (const libusb_interface& one : std::span(config.interface, config.bNumInterfaces)) {
    for (const auto& setting :
         std::span(one.altsetting, static_cast<std::size_t>(one.num_altsetting))) {
      if (carriesMedia(setting)) return setting.bInterfaceNumber;
    }
  }
  return std::nullopt;
}

std::optional<int> mediaInterface(libusb_device* device) {
  libusb_device_descriptor descriptor{};
  if (libusb_get_device_descriptor(device, &descriptor) != LIBUSB_SUCCESS) return std::nullopt;
  for (std::uint8_t i = 0; i < descriptor.bNumConfigurations; ++i) {
    libusb_config_descriptor* read = nullptr;
    if (libusb_get_config_descriptor(device, i, &read) != LIBUSB_SUCCESS) continue;
    const Config config(read);
    if (const auto found = mediaInterface(*config)) return found;
  }
  return std::nullopt;
}

std::string numbered(const char* text, int error) {
  return std::string(text) + " (libusb error " + std::to_string(error) +
         "). Detach it and attach it again.";
}

std::string openObstacle(const UsbAddress& address, int error) {
  if (error == LIBUSB_SUCCESS) return {};
  if (error != LIBUSB_ERROR_ACCESS) return numbered("The device cannot be opened", error);
  std::array<char, 32> node{};
  std::snprintf(node.data(), node.size(), "/dev/bus/usb/%03u/%03u", unsigned{address.bus},
                unsigned{address.device});
  return "Access to the device is denied. Let this user read and write " +
         std::string(node.data()) + ", for example by a udev rule.";
}

/// Claims the interface and releases it at once.
std::string claimObstacle(libusb_device_handle* handle, int interface) {
  // libmtp detaches kernel drivers itself.
  if (libusb_kernel_driver_active(handle, interface) == 1) return {};
  const int error = libusb_claim_interface(handle, interface);
  if (error == LIBUSB_ERROR_BUSY) {
    return "Another program uses the device, for example a file manager. Eject the device there or "
           "end that program, then attach the device again.";
  }
  if (error != LIBUSB_SUCCESS) return numbered("The device cannot be used", error);
  libusb_release_interface(handle, interface);
  return {};
}

std::runtime_error noUsb(int error) {
  return std::runtime_error("This system gives no access to USB devices (libusb error " +
                            std::to_string(error) + "). Is /dev/bus/usb there?");
}

}  // namespace

UsbBus::UsbBus() {
  const int error = libusb_init(&context);
  if (error != LIBUSB_SUCCESS) throw noUsb(error);
  count = libusb_get_device_list(context, &devices);
  if (count >= 0) return;
  libusb_exit(context);
  throw noUsb(static_cast<int>(count));
}

UsbBus::~UsbBus() {
  libusb_free_device_list(devices, 1);
  libusb_exit(context);
}

libusb_device* UsbBus::find(const UsbAddress& address) const {
  const std::span all(devices, static_cast<std::size_t>(count));
  const auto found = std::find_if(all.begin(), all.end(), [&](libusb_device* device) {
    return libusb_get_bus_number(device) == address.bus &&
           libusb_get_device_address(device) == address.device;
  });
  return found == all.end() ? nullptr : *found;
}

std::string UsbBus::obstacle(const UsbAddress& address) const {
  libusb_device* const device = find(address);
  if (device == nullptr) return "The device is no longer attached.";
  const auto interface = mediaInterface(device);
  if (!interface) {
    return "The device does not offer its media. Unlock it and choose file transfer (MTP) in its "
           "USB settings.";
  }
  libusb_device_handle* opened = nullptr;
  const int error = libusb_open(device, &opened);
  if (std::string found = openObstacle(address, error); !found.empty()) return found;
  const Handle handle(opened);
  return claimObstacle(handle.get(), *interface);
}

}  // namespace orvel
