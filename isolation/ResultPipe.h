#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "base/Descriptor.h"

namespace orvel {

/// The library's end of the pipe that carries a worker's results. Cuts the bytes into results and
/// never waits.
class ResultPipe {
 public:
  /// @param libraryEnd       must not block
  /// @param mostResultBytes  largest size of a result
  ResultPipe(Descriptor libraryEnd, std::size_t mostResultBytes)
      : end(std::move(libraryEnd)), mostBytes(mostResultBytes) {}

  [[nodiscard]] int get() const { return end.get(); }

  /// Takes the next result that has arrived completely, without its length. The text stays valid
  /// until the next call of `readMore`.
  std::optional<std::string_view> take();

  /// Reads the bytes that have arrived; returns false when there are none.
  bool readMore();

  /// False after the worker has closed its end.
  [[nodiscard]] bool isOpen() const { return open; }
  /// True when the worker announced a result longer than any can be.
  [[nodiscard]] bool isBroken() const { return broken; }
  /// True after `readMore` when the beginning of a result has arrived, but not yet its end.
  [[nodiscard]] bool holdsPart() const { return !received.empty(); }

 private:
  Descriptor end;
  const std::size_t mostBytes;
  std::string received;
  std::size_t taken = 0;  ///< bytes at the beginning of `received` that `take` has returned
  bool open = true;
  bool broken = false;
};

}  // namespace orvel
