#include "tests/support/Effort.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string_view>

namespace orvel::test {

bool isLongForm() {
  const char* form = std::getenv("ORVEL_FAULTS");
  return form != nullptr && std::string_view(form) == "long";
}

long casesOf(long shortForm, long longForm) {
  if (isLongForm()) return longForm;
  constexpr long kShare = kIsSanitized || kIsEmulated ? 4 : 1;
  return std::max(shortForm / kShare, 1L);
}

std::mt19937_64 seededRandom() {
  const char* given = std::getenv("ORVEL_FAULT_SEED");
  const std::uint64_t seed = given == nullptr ? 1 : std::strtoull(given, nullptr, 10);
  std::printf("seed: ORVEL_FAULT_SEED=%llu\n", static_cast<unsigned long long>(seed));
  return std::mt19937_64(seed);
}

std::vector<long> spread(long last, long count, std::mt19937_64& random) {
  std::vector<long> numbers;
  count = std::min(count, last);
  for (long i = 0; i < count; ++i) {
    const long begin = 1 + last * i / count;
    const long end = 1 + last * (i + 1) / count;
    numbers.push_back(std::uniform_int_distribution<long>(begin, end - 1)(random));
  }
  return numbers;
}

double Longest::add(Clock::duration time) {
  const double taken = std::chrono::duration<double, std::milli>(time).count();
  longest = std::max(longest, taken);
  return taken;
}

}  // namespace orvel::test
