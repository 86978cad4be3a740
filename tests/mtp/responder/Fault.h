#pragma once

#include <cstdint>
#include <functional>
#include <limits>
#include <optional>
#include <string>

#include "tests/mtp/responder/PtpCodes.h"

namespace orvel::test {

/// Something that a responder does wrong when an operation is asked for.
struct Fault {
  static constexpr unsigned kAlways = std::numeric_limits<unsigned>::max();

  ptp::Operation operation = ptp::kGetObjectInfo;
  /// The object, parent folder or storage that the operation is about; nothing for any.
  std::optional<std::uint32_t> subject = {};
  unsigned after = 0;        ///< fitting calls that are answered rightly before
  unsigned times = kAlways;  ///< fitting calls that go wrong then

  /// Exactly one of these is set.
  std::optional<std::uint16_t> refusal = {};               ///< this response and no data
  std::function<void(std::string& dataset)> rewrite = {};  ///< changes the data that is sent
  bool silent = false;                                     ///< nothing is sent at all

  Fault& about(std::uint32_t object) { return subject = object, *this; }
  Fault& startingAfter(unsigned calls) { return after = calls, *this; }
};

/// Answers with a response code in place of the data.
Fault refuse(ptp::Operation operation, std::uint16_t response, unsigned times = Fault::kAlways);
/// Sends only the first bytes of the data.
Fault truncate(ptp::Operation operation, std::size_t bytes);
/// Sends other data.
Fault replace(ptp::Operation operation, std::string dataset);
/// Sends an array whose count is not that of its elements.
Fault miscount(ptp::Operation operation, std::uint32_t count);
/// Sends nothing, so that the initiator's transfer times out.
Fault keepSilent(ptp::Operation operation, unsigned times = Fault::kAlways);

}  // namespace orvel::test
