#include "browse/Search.h"

#include <glib.h>

#include <algorithm>
#include <array>
#include <memory>
#include <string_view>

#include "base/GlibPointers.h"
#include "base/GlibText.h"

namespace orvel::browse {

namespace {

/// The columns that are searched, where a kind has them.
constexpr std::array<std::string_view, 5> kSearched{"name", "title", "artist", "album", "composer"};

/// GlibTexts without case, and their spellings in ASCII.
struct FoldedWords {
  explicit FoldedWords(const std::string& text) {
    char** ascii = nullptr;
    const GlibText valid(g_utf8_make_valid(text.data(), static_cast<gssize>(text.size())));
    words.reset(g_str_tokenize_and_fold(valid.get(), nullptr, &ascii));
    spellings.reset(ascii);
  }

  [[nodiscard]] bool hasWordThatBegins(const char* beginning) const {
    return contains(words, beginning) || contains(spellings, beginning);
  }

  GlibTexts words;
  GlibTexts spellings;

 private:
  static bool contains(const GlibTexts& candidates, const char* beginning) {
    for (char** word = candidates.get(); *word != nullptr; ++word) {
      if (g_str_has_prefix(*word, beginning) != FALSE) return true;
    }
    return false;
  }
};

bool matches(const FoldedWords& wanted, const std::string& text) {
  const FoldedWords found(text);
  bool all = *wanted.words.get() != nullptr;
  for (char** word = wanted.words.get(); *word != nullptr && all; ++word) {
    all = found.hasWordThatBegins(*word);
  }
  return all;
}

/// The searched texts of a row, one after the other.
std::string searchedText(const std::vector<Column>& columns, const Row& row) {
  std::string texts;
  for (std::size_t i = 0; i < columns.size(); ++i) {
    const auto* text = std::get_if<std::string_view>(&row[i]);
    if (text == nullptr) continue;
    if (std::find(kSearched.begin(), kSearched.end(), columns[i].name) == kSearched.end()) continue;
    texts.append(*text).push_back('\n');
  }
  return texts;
}

}  // namespace

std::uint32_t search(const MediaDatabase& database, const std::string& words,
                     const std::set<ListKind>& kinds, const PageRequest& page,
                     const HitReceiver& receive) {
  const FoldedWords wanted(words);
  std::uint32_t found = 0;
  bool isWanted = true;
  database.atOneMoment([&] {
    for (const auto& named : listKinds()) {
      if (!kinds.contains(named.second)) continue;
      ListQuery all;
      all.kind = named.second;
      const Listing listing = listingFor(all);
      database.query(listing.select + " ORDER BY " + listing.order, {}, [&](const Row& row) {
        if (!matches(wanted, searchedText(listing.columns, row))) return true;
        const std::uint32_t position = found++;
        const bool isOnPage = position >= page.offset && position - page.offset < page.count;
        if (isOnPage && isWanted) isWanted = receive(named.first.c_str(), listing.columns, row);
        return true;
      });
    }
  });
  return found;
}

}  // namespace orvel::browse
