#include "service/RowPage.h"

#include "base/Utf8.h"
#include "service/BusText.h"

namespace orvel::service {

namespace {

constexpr std::size_t kMostBytes = std::size_t{4} << 20;

std::string hexOf(std::string_view bytes) {
  constexpr char kDigits[] = "0123456789abcdef";
  std::string hex;
  for (const char c : bytes) {
    const auto byte = static_cast<unsigned char>(c);
    hex += kDigits[byte >> 4U];
    hex += kDigits[byte & 0xFU];
  }
  return hex;
}

void addText(GVariantBuilder& row, const char* key, std::string_view text) {
  if (utf8::isValid(text)) {
    g_variant_builder_add(&row, "{sv}", key, g_variant_new_string(std::string(text).c_str()));
    return;
  }
  g_variant_builder_add(&row, "{sv}", key, g_variant_new_string(busText(text).c_str()));
  // The bytes of a path open the file.
  if (std::string_view(key) == "path") {
    g_variant_builder_add(&row, "{sv}", "path_hex", g_variant_new_string(hexOf(text).c_str()));
  }
}

std::size_t bytesOf(const browse::Row& row) {
  std::size_t bytes = 0;
  for (const browse::Cell& cell : row) {
    const auto* text = std::get_if<std::string_view>(&cell);
    // A text that is not valid UTF-8 grows at most threefold.
    bytes += 32 + (text == nullptr ? 0 : 3 * text->size());
  }
  return bytes;
}

}  // namespace

RowPage::RowPage() {
  g_variant_builder_init(&rows, G_VARIANT_TYPE("aa{sv}"));
}

RowPage::~RowPage() {
  g_variant_builder_clear(&rows);
}

bool RowPage::add(const std::vector<browse::Column>& columns, const browse::Row& row,
                  const char* kind) {
  bytes += bytesOf(row);
  if (bytes > kMostBytes) return false;
  GVariantBuilder values;
  g_variant_builder_init(&values, G_VARIANT_TYPE("a{sv}"));
  if (kind != nullptr) {
    g_variant_builder_add(&values, "{sv}", "kind", g_variant_new_string(kind));
  }
  for (std::size_t i = 0; i < columns.size(); ++i) {
    if (const auto* text = std::get_if<std::string_view>(&row[i])) {
      addText(values, columns[i].name, *text);
    } else if (const auto* number = std::get_if<std::int64_t>(&row[i])) {
      g_variant_builder_add(&values, "{sv}", columns[i].name, g_variant_new_int64(*number));
    }
  }
  g_variant_builder_add_value(&rows, g_variant_builder_end(&values));
  return true;
}

GVariant* RowPage::finish(std::uint32_t total) {
  return g_variant_new("(u@aa{sv})", total, g_variant_builder_end(&rows));
}

}  // namespace orvel::service
