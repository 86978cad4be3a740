#include <orvel/Collation.h>

#include <glib.h>
#include <gmock/gmock.h>

#include <clocale>
#include <string>
#include <vector>

namespace {

int compare(const std::string& a, const std::string& b) {
  const int result = collation_utf8(nullptr, static_cast<int>(a.size()), a.data(),
                                    static_cast<int>(b.size()), b.data());
  return result < 0 ? -1 : result > 0 ? 1 : 0;
}

TEST(Collation, AgreesWithGLibOnBothSidesOfTheStackBuffer) {
  std::setlocale(LC_COLLATE, "C.UTF-8");
  for (const std::size_t length : {1, 8190, 8191, 8192, 8193, 70000}) {
    const std::string text(length, 'm');
    EXPECT_EQ(compare(text, text), 0) << length;
    EXPECT_EQ(compare(text + "a", text + "b"), -1) << length;
    EXPECT_EQ(compare(text, text.substr(1)), 1) << length;
    EXPECT_EQ(compare("n", text), 1) << length;
  }
  EXPECT_EQ(tracker_collation_init(), 0);
  tracker_collation_shutdown();
  const char unterminated[] = {'a', 'b', 'c'};
  EXPECT_EQ(collation_utf8(nullptr, 2, unterminated, 2, "ab"), 0);
  EXPECT_EQ(collation_utf8(nullptr, 0, nullptr, 0, ""), 0);
  EXPECT_EQ(compare("Zebra", "\xC3\x84pfel"), g_utf8_collate("Zebra", "\xC3\x84pfel") < 0 ? -1 : 1);
}

TEST(Collation, OrdersHostileBytesConsistently) {
  // clang-format off
  const std::vector<std::string> texts = {
      "", "a", "\xC3\xA4", "\xC3", "\xFF\xFE", "a\xE2\x82", "\xF0\x9F\x8E\xB5", "\x80", "a\x01",
      "\xED\xA0\x80", std::string("a\0b", 3), std::string(9000, '\xC0'),
      std::string(8190, 'x') + "\xE2", std::string(8191, 'x') + "\xE2\x82"};
  // clang-format on
  for (const auto& a : texts) {
    EXPECT_EQ(compare(a, a), 0);
    for (const auto& b : texts) EXPECT_EQ(compare(a, b), -compare(b, a));
  }
}

}  // namespace
