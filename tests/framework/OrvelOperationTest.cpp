#include <gmock/gmock.h>

#include <set>

#include "framework/OrvelOperation.h"

namespace orvel {
namespace {

using testing::ElementsAre;

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

}  // namespace
}  // namespace orvel
