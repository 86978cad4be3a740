#include <gtest/gtest.h>

#include <atomic>
#include <future>

#include "phones/Access.h"
#include "phones/AttachedDevices.h"
#include "phones/DeviceList.h"
#include "phones/scripted/ScriptedBus.h"

namespace orvel {
namespace {

using namespace std::chrono_literals;

std::promise<void> entered, mayReturn;
std::atomic<bool> returned{false};

t_status countStorages(t_handle handle) {
  std::uint32_t count = 0;
  return Access_GetNumItems(handle, {CONTAINER_DEVICE, 0, 0}, TYPE_STORAGE, count);
}

// A stage that met the answer earlier would take the rest of its tracks for tracks without tags.
TEST(RemovalListener, KnowsOfARemovalBeforeAnyCallerDoes) {
  const std::string path = scripted::attach({});
  const t_handle handle = attachedDevices().back().handle;
  ASSERT_EQ(countStorages(handle), STATUS_OK);
  DeviceList::instance().setRemovalListener([](t_handle) {
    entered.set_value();
    mayReturn.get_future().wait();
    returned = true;
  });
  scripted::detach(path);
  auto host = std::async([handle] { return isAttached(handle); });
  entered.get_future().wait();
  auto stage = std::async([handle] {
    const t_status status = countStorages(handle);
    return returned ? status : STATUS_OK;
  });
  EXPECT_EQ(stage.wait_for(50ms), std::future_status::timeout);
  mayReturn.set_value();
  EXPECT_EQ(stage.get(), STATUS_NOT_OK_BAD_HANDLE);
  EXPECT_FALSE(host.get());
  DeviceList::instance().setRemovalListener(nullptr);
}

}  // namespace
}  // namespace orvel
