#pragma once

#include <memory>

#include "tests/mtp/responder/StandInDevice.h"

/// A USB bus without hardware. Programs linked with orvel_libusb_stand_in find on it, through
/// libusb's own entry points, the devices that are plugged in here, and nothing else; so does
/// libmtp within them. One bus per process; any thread.
namespace orvel::test::libusbStandIn {

/// Attaches a new device.
std::shared_ptr<StandInDevice> plugIn(Media media, const DeviceIdentity& identity = {},
                                      UsbIds ids = {});
/// Attaches an unplugged device again, at a new address.
void plugInAgain(const std::shared_ptr<StandInDevice>& device);
/// Unplugs all devices for good.
void unplugAll();

}  // namespace orvel::test::libusbStandIn
