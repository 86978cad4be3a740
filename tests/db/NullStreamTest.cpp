#include "db/NullStream.h"

#include <gtest/gtest.h>

#include <iostream>
#include <sstream>
#include <thread>

#include "msd/StandardErrorSilence.h"

namespace orvel::test {
namespace {

TEST(NullStream, SilencesStandardErrorForAsLongAsAnyMinerNeedsIt) {
  std::ostringstream seen;
  const sqlstl::stream_redirector redirected(std::cerr, seen.rdbuf());
  {
    auto first = std::make_unique<StandardErrorSilence>();
    const StandardErrorSilence second;
    first.reset();
    std::cerr << "silenced";
    std::thread([] {
      for (int i = 0; i < 1000; ++i) const StandardErrorSilence other;
    }).join();
    std::cerr << "still";
  }
  std::cerr << "heard";
  EXPECT_EQ(seen.str(), "heard");
}

}  // namespace
}  // namespace orvel::test
