#include "phones/libmtp/ErrorStack.h"

#include <cstdio>

namespace orvel {

namespace {

/// libmtp's own codes for failures of the transport. All but 0x02FE, "data expected", by which
/// libmtp reports a refusal of the device.
constexpr std::uint16_t kFirstTransportCode = 0x02F9;
constexpr std::uint16_t kLastTransportCode = 0x02FF;
constexpr std::uint16_t kDataExpected = 0x02FE;

/// The code at the beginning of an error's text, the only place that has it; 0 for none.
std::uint16_t codeIn(const char* text) {
  unsigned code = 0;
  if (text == nullptr || std::sscanf(text, "PTP Layer error %4x:", &code) != 1) return 0;
  return static_cast<std::uint16_t>(code);
}

bool isTransportCode(std::uint16_t code) {
  return code >= kFirstTransportCode && code <= kLastTransportCode && code != kDataExpected;
}

}  // namespace

NotedErrors takeErrors(LIBMTP_mtpdevice_t* device) {
  NotedErrors errors;
  for (const LIBMTP_error_t* note = LIBMTP_Get_Errorstack(device); note != nullptr;
       note = note->next) {
    errors.any = true;
    const std::uint16_t code = codeIn(note->error_text);
    if (code == 0) continue;
    errors.code = code;
    errors.transportFailed = errors.transportFailed || isTransportCode(code);
  }
  LIBMTP_Clear_Errorstack(device);
  return errors;
}

}  // namespace orvel
