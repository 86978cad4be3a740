#include "hotplug/Phones.h"

#include <gtest/gtest.h>
#include <orvel/MtpDevice.h>
#include <umockdev.h>

#include <chrono>

#include "phones/scripted/ScriptedBus.h"
#include "tests/support/waitUntil.h"

namespace orvel::hotplug {
namespace {

using Reports = std::vector<std::string>;

scripted::ScriptedDevice phone(const std::string& serial) {
  scripted::ScriptedDevice device;
  device.serial = serial;
  device.addStorage("Internal");
  return device;
}

/// Described phones on a USB bus whose notices a test sends.
class PhonesTest : public testing::Test {
 protected:
  ~PhonesTest() override {
    scripted::clear();
    attachedDevices();
  }

  /// Plugs a device into the USB bus; `properties` are those that udev's rules give it.
  void plug(const char* name, std::vector<const char*> properties) {
    properties.insert(properties.end(), {"DEVTYPE", "usb_device", nullptr});
    const char* attributes[] = {nullptr};
    char* device = umockdev_testbed_add_devicev(
        bus.get(), "usb", name, nullptr, const_cast<char**>(attributes),  // it is not changed
        const_cast<char**>(properties.data()));
    g_free(device);
  }

  Phones::Events recorder() {
    const auto record = [this](const char* event) {
      return [this, event](const AttachedDevice& device) {
        const char* failure = device.error.empty() ? " locked" : " failed";
        reports.push_back(event + device.serial + (device.storages.empty() ? failure : ""));
      };
    };
    return {record("attached "), record("changed "), record("removed ")};
  }

  bool comes(const std::string& report) {
    return test::waitUntil([&] {
      g_main_context_iteration(nullptr, FALSE);
      return !reports.empty() && reports.back() == report;
    });
  }

  void serve(std::chrono::milliseconds time) {
    test::waitUntil([] { return g_main_context_iteration(nullptr, FALSE) && false; }, time);
  }

  GlibObject<UMockdevTestbed> bus{umockdev_testbed_new()};
  Reports reports;
};

TEST_F(PhonesTest, NoticesOfTheSystemLeadToReports) {
  scripted::attach(phone("A"));
  Phones phones(recorder());
  ASSERT_TRUE(comes("attached A"));

  const auto player = scripted::attach(phone("B"));
  plug("mouse", {"ID_USB_INTERFACES", ":030102:"});
  serve(std::chrono::milliseconds(200));
  ASSERT_EQ(reports, Reports{"attached A"});
  plug("camera", {"ID_USB_INTERFACES", ":ff4201:060101:"});
  ASSERT_TRUE(comes("attached B"));

  const t_handle handle = attachedDevices().back().handle;
  MtpDevice::instance().setDeviceConnected(handle);
  player->remove();
  // Of a device that was pulled out udev may have nothing left to tell.
  umockdev_testbed_uevent(bus.get(), "/sys/devices/mouse", "remove");
  ASSERT_TRUE(comes("removed B"));
  EXPECT_FALSE(MtpDevice::instance().isDeviceConnected(handle));
  EXPECT_EQ(reports, (Reports{"attached A", "attached B", "removed B"}));
}

TEST_F(PhonesTest, LooksAgainAtAPhoneThatCannotBeReadYet) {
  scripted::ScriptedDevice locked = phone("L");
  locked.addFault({.at = "open"});
  locked.addFault({.at = "listStorages",
                   .effect = scripted::Fault::Effect::Items,
                   .times = scripted::kForEver});
  const auto live = scripted::attach(locked);
  Phones phones(recorder());
  ASSERT_TRUE(comes("attached  failed"));
  ASSERT_TRUE(comes("attached L locked"));
  live->update(phone("L"));
  EXPECT_TRUE(comes("changed L"));
  EXPECT_EQ(reports,
            (Reports{"attached  failed", "removed  failed", "attached L locked", "changed L"}));
}

TEST_F(PhonesTest, NobodyWaitsForAPhoneThatHangs) {
  const auto gone = scripted::attach(phone("G"));
  auto phones = std::make_unique<Phones>(recorder());
  ASSERT_TRUE(comes("attached G"));
  scripted::ScriptedDevice hanging = phone("H");
  hanging.addFault({.at = "open", .effect = scripted::Fault::Effect::Block});
  const auto live = scripted::attach(hanging);
  phones->look();
  ASSERT_TRUE(test::waitUntil([&] { return live->blocked() == 1; }));
  gone->remove();
  phones->look();
  EXPECT_EQ(reports.back(), "removed G");
  phones.reset();
  live->release();
  serve(std::chrono::milliseconds(200));
  EXPECT_EQ(reports, (Reports{"attached G", "removed G"}));
}

}  // namespace
}  // namespace orvel::hotplug
