#include <gmock/gmock.h>

#include <set>

#include "base/Timer.h"
#include "framework/Block.h"
#include "framework/OrvelOperation.h"
#include "framework/RequestProgress.h"

namespace orvel {
namespace {

using testing::ElementsAre;

struct Counted {
  explicit Counted(int& living) : count(living) { ++count; }
  ~Counted() { --count; }
  int& count;
};

TEST(OrvelOperation, IsOrderedByHandleDeviceMountPointAndId) {
  const auto key = [](unsigned handle, const char* device, const char* mount, int id) {
    OrvelOperation operation;
    operation.handle = handle;
    operation.deviceId = device;
    operation.mountPoint = mount;
    operation.opId = id;
    operation.resultCount = -id;
    operation.skipped = id % 2 == 0;
    return operation;
  };
  const std::set<OrvelOperation> keys = {key(0xFFFFFFFF, "a", "/", 1), key(5, "a", "/", 2),
                                         key(0, "z", "/b", 3),         key(0, "z", "/a", 9),
                                         key(0, "z", "/a", 4),         key(0, "\xC3", "/", 5),
                                         key(0, "z", "/a", 4)};
  std::vector<int> ids;
  for (const auto& operation : keys) ids.push_back(operation.opId);
  EXPECT_THAT(ids, ElementsAre(4, 9, 3, 5, 2, 1));
}

TEST(Timer, RoundsToTheNearestMillisecond) {
  const auto elapsed = [](long fromSeconds, long fromMicros, long toSeconds, long toMicros) {
    return Timer::milliseconds({fromSeconds, fromMicros}, {toSeconds, toMicros});
  };
  EXPECT_EQ(elapsed(0, 0, 0, 499), 0);
  EXPECT_EQ(elapsed(0, 0, 0, 500), 1);
  EXPECT_EQ(elapsed(10, 999999, 11, 0), 0);
  EXPECT_EQ(elapsed(10, 999000, 12, 500), 1002);
  EXPECT_EQ(elapsed(2, 0, 1, 400), -1000);
  EXPECT_EQ(elapsed(0, 0, 1800000000, 0), INT32_MAX) << "a clock that was set from 1970 to today";
}

}  // namespace
}  // namespace orvel
