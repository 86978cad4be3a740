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

  ptp::Operation operation;
  unsigned times = kAlways;                                ///< calls that go wrong
  std::optional<std::uint16_t> refusal = {};               ///< this response and no data
  bool silent = false;                                     ///< nothing is sent at all
  std::function<void(std::string& dataset)> rewrite = {};  ///< changes the data that is sent
  unsigned after = 0;                                      ///< calls that are answered before
  /// The object, parent folder or storage that the operation is about; nothing for any.
  std::optional<std::uint32_t> subject = {};

  Fault& about(std::uint32_t object) { return subject = object, *this; }
  Fault& startingAfter(unsigned calls) { return after = calls, *this; }
};

/// Answers with a response code in place of the data.
inline Fault refuse(ptp::Operation operation, std::uint16_t response,
                    unsigned times = Fault::kAlways) {
  return {.operation = operation, .times = times, .refusal = response};
}

/// Sends nothing, so that the initiator's transfer times out.
inline Fault keepSilent(ptp::Operation operation, unsigned times = Fault::kAlways) {
  return {.operation = operation, .times = times, .silent = true};
}

}  // namespace orvel::test
