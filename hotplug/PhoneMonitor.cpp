#include "hotplug/PhoneMonitor.h"

#include <string_view>
#include <utility>

#include "hotplug/isUdevRunning.h"

namespace orvel::hotplug {

namespace {

std::string_view property(GUdevDevice* device, const char* key) {
  const char* value = g_udev_device_get_property(device, key);
  return value == nullptr ? "" : value;
}

/// Players and most phones are listed by the device manager's rules; ":06" is the class of devices
/// that show still images, to which the protocol of the others belongs. Of a device that is pulled
/// out the manager may have lost the description: it runs its rules once more when the driver lets
/// go, and finds nothing left to read.
bool mayBePhone(std::string_view action, GUdevDevice* device) {
  return property(device, "DEVTYPE") == "usb_device" &&
         (action == "remove" || property(device, "ID_MTP_DEVICE") == "1" ||
          !property(device, "ID_MEDIA_PLAYER").empty() ||
          property(device, "ID_USB_INTERFACES").find(":06") != std::string_view::npos);
}

}  // namespace

PhoneMonitor::PhoneMonitor(std::function<void()> changed) : onChange(std::move(changed)) {
  if (!isUdevRunning()) {
    g_warning(
        "udev does not run: phones that are plugged in later are not noticed. Start udev, or start"
        " this service again for each phone.");
  }
  const char* const subsystems[] = {"usb", nullptr};
  client.reset(g_udev_client_new(subsystems));
  g_signal_connect_swapped(client.get(), "uevent", G_CALLBACK(&PhoneMonitor::onEvent), this);
}

PhoneMonitor::~PhoneMonitor() {
  g_signal_handlers_disconnect_by_data(client.get(), this);
}

void PhoneMonitor::onEvent(PhoneMonitor* self, const char* action, GUdevDevice* device) {
  if (mayBePhone(action, device)) self->onChange();
}

}  // namespace orvel::hotplug
