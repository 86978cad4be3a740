#pragma once

#include <algorithm>
#include <boost/shared_ptr.hpp>
#include <cassert>
#include <cstddef>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "framework/Operation.h"

namespace orvel {

/// A block that holds about as many bytes is sent on before it is complete.
constexpr std::size_t kBytesOfFullBlock = std::size_t{8} << 20;

template <class T>
class Block;

/// A batch of items of one request, held by boost::shared_ptr. Owns the items in it: a stage that
/// keeps an item sets its slot to null. Used by one thread at a time, handed over through queues.
template <class T>
class Block<T*> {
 public:
  using item_type = T;

  explicit Block(Operation request) : operation(std::move(request)) {}
  ~Block() {
    for (T* item : items) delete item;
  }
  Block(const Block&) = delete;
  Block& operator=(const Block&) = delete;

  /// Appends an item. Throws std::bad_alloc without leaking the item.
  void add(std::unique_ptr<T> item) {
    assert(item != nullptr);
    items.push_back(nullptr);
    items.back() = item.release();
  }

  /// Whether a stored path may still be on the device although no item has it.
  [[nodiscard]] bool isDoubtful(std::string_view path) const {
    return std::any_of(doubtful.begin(), doubtful.end(), [path](const std::string& folder) {
      return folder.empty() || (path.starts_with(folder) &&
                                (path.size() == folder.size() || path[folder.size()] == '/'));
    });
  }

  std::vector<T*> items;
  Operation operation;
  /// Of a crawler's block: folders that could not be listed completely, "" for the whole device.
  std::vector<std::string> doubtful;
};

/// A block without items: the operation alone.
template <>
class Block<void> {
 public:
  explicit Block(Operation request) : operation(std::move(request)) {}

  Operation operation;
};

}  // namespace orvel
