#pragma once

#include <chrono>
#include <random>
#include <string>
#include <vector>

/// The amount of work of the fault tests and the seed of their random choices: ORVEL_FAULTS=long
/// asks for the long form, ORVEL_FAULT_SEED=N replaces the seed.
namespace orvel::test {

/// Whether the code is built with a sanitizer: bounds of time and memory say nothing then.
#ifdef ORVEL_SANITIZED
constexpr bool kIsSanitized = true;
#else
constexpr bool kIsSanitized = false;
#endif

/// Whether an emulator runs the tests: it is slow, and passes on neither filters of system calls
/// nor limits of memory.
#ifdef ORVEL_EMULATED
constexpr bool kIsEmulated = true;
#else
constexpr bool kIsEmulated = false;
#endif

bool isLongForm();

/// The number of cases: the first in every run of the suite, the second in the long form. Under the
/// sanitizers and emulators, which make everything slow, a quarter of the first.
long casesOf(long shortForm, long longForm);

/// A generator for the running test, whose seed is printed.
std::mt19937_64 seededRandom();

/// `count` evenly spaced numbers of 1 to `last`, moved by chance; all of them when `count` reaches
/// `last`. In ascending order.
std::vector<long> spread(long last, long count, std::mt19937_64& random);

/// A time that a promise names, with room for a machine that is busy with other things.
constexpr std::chrono::milliseconds withSlack(std::chrono::milliseconds promised) {
  return (kIsEmulated ? 30 : 5) * promised;
}

/// The longest of the times that a test has seen.
class Longest {
 public:
  using Clock = std::chrono::steady_clock;

  /// Runs `call` and takes its time; returns it in milliseconds.
  template <class Call>
  double measure(Call call) {
    const Clock::time_point begin = Clock::now();
    call();
    return add(Clock::now() - begin);
  }
  double add(Clock::duration time);
  [[nodiscard]] double milliseconds() const { return longest; }

 private:
  double longest = 0;
};

}  // namespace orvel::test
