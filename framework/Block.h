#pragma once

#include <boost/shared_ptr.hpp>
#include <memory>
#include <utility>
#include <vector>

#include "framework/Operation.h"

namespace orvel {

template <class T>
class Block;

/// A batch of items of one request. The block owns every item that it still holds: a stage that
/// keeps an item takes it out of `items`. Used by one stage thread at a time, held by
/// boost::shared_ptr.
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

  /// Appends an item; nothing is lost when memory runs out.
  void add(std::unique_ptr<T> item) {
    items.push_back(nullptr);
    items.back() = item.release();
  }

  std::vector<T*> items;
  Operation operation;
};

/// The block without items: the operation alone.
template <>
class Block<void> {
 public:
  explicit Block(Operation request) : operation(std::move(request)) {}

  Operation operation;
};

}  // namespace orvel
