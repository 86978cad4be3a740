#pragma once

#include <cstdint>

#include "phones/DeviceLimits.h"
#include "phones/DeviceTypes.h"

namespace orvel {

/// How far the listing of one folder has come. Makes no call to the device. Used by one thread.
///
/// Every request asks for the folder's whole count; the library delivers as many items as it likes.
/// A delivered page moves the start of the next request past its items. A page that fails moves it
/// by the length of the page before, as if that many items were lost. An empty page before the end
/// is a short read: the folder may have lost items, and the caller may count it again. The rest of
/// the folder is given up after 81 empty or failed pages that moved nothing, or at once when such a
/// page was still answered "busy" after its repetitions.
class PagedListing {
 public:
  explicit PagedListing(std::uint32_t itemCount) : count(itemCount) {}

  /// The number of items that the folder reports.
  [[nodiscard]] std::uint32_t total() const { return count; }
  void setTotal(std::uint32_t itemCount) { count = itemCount; }
  /// The first item of the next page: as many items lie before it.
  [[nodiscard]] std::uint32_t start() const { return position; }

  /// Notes the length of a delivered page.
  void setPageLength(std::uint32_t length) { pageLength = length; }
  [[nodiscard]] bool isShortRead() const { return pageLength == 0 && position != 0 && count != 0; }
  [[nodiscard]] bool isAtEnd() const { return position + pageLength >= count; }

  /// Moves on to the next page after one that was answered with `status`; false when the rest of
  /// the folder is given up.
  [[nodiscard]] bool moveOn(t_status status) {
    if (pageLength == 0 && (status == STATUS_BUSY || ++standstills == kMaxStandstills)) {
      return false;
    }
    position += pageLength;
    return true;
  }

 private:
  /// As many as calls to a device that stays busy.
  static constexpr int kMaxStandstills = kBusyRetries + 1;

  std::uint32_t count;
  std::uint32_t position = 0;
  std::uint32_t pageLength = 0;
  int standstills = 0;
};

}  // namespace orvel
