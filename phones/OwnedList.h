#pragma once

#include <cstdlib>
#include <utility>

#include "phones/DeviceTypes.h"

namespace orvel {

inline char* textOf(const t_mtp_item& item) {
  return item.name;
}
inline char* textOf(const t_playlist_item& item) {
  return item.text;
}

/// Owns a list that the device-access library returned: frees every text and the array.
template <class List>
class OwnedList {
 public:
  OwnedList() = default;
  ~OwnedList() { clear(); }
  OwnedList(const OwnedList&) = delete;
  OwnedList& operator=(const OwnedList&) = delete;

  /// The list for the library to fill. Frees the current one.
  List& out() {
    clear();
    return list;
  }
  List& get() { return list; }
  /// Hands the list over.
  List release() { return std::exchange(list, List{}); }
  [[nodiscard]] std::uint32_t size() const { return list.items == nullptr ? 0 : list.count; }
  const auto& operator[](std::uint32_t index) const { return list.items[index]; }
  auto* begin() const { return list.items; }
  auto* end() const { return list.items + size(); }

 private:
  void clear() {
    for (auto& item : *this) std::free(textOf(item));
    std::free(list.items);
    list = {};
  }

  List list{};
};

using OwnedItems = OwnedList<t_mtp_item_list>;
using OwnedElements = OwnedList<t_playlist_items_list>;

}  // namespace orvel
