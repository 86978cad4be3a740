#include "fuzz/text/fuzzTexts.h"

/// What libFuzzer calls with each input.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  orvel::fuzzTexts(data, size);
  return 0;
}
