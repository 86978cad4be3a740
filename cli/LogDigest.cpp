#include "cli/LogDigest.h"

#include <algorithm>
#include <boost/algorithm/string/join.hpp>

namespace orvel::cli {

namespace {

constexpr std::size_t kNamed = 3;
constexpr std::size_t kInSummary = 3;

struct Meaning {
  const char* one;
  const char* many;
};

constexpr std::array<Meaning, 3> kMeanings{
    {{"1 file could not be read", " files could not be read"},
     {"1 folder could not be read", " folders could not be read"},
     {"1 link leads to another file system", " links lead to other file systems"}}};

/// The library's warnings about one path, which follows, by their beginnings.
struct Rule {
  std::string_view beginning;
  std::size_t kind;  ///< of `kMeanings`, or kInSummary
};

constexpr std::array<Rule, 12> kRules{{{"NULL file for track: ", 0},
                                       {"the device delivers only a part of track: ", 0},
                                       {"insert empty: ", kInSummary},
                                       {"tag reader ", kInSummary},
                                       {"Error opening dir: ", 1},
                                       {"go on", kInSummary},
                                       {"passed over, since it leads to another file system: ", 2},
                                       {"cannot read playlist ", kInSummary},
                                       {"playlist not parsed, since ", kInSummary},
                                       {"playlist reader ", kInSummary},
                                       {" track reached", kInSummary},
                                       {" folders reached", kInSummary}}};

}  // namespace

bool LogDigest::take(std::string_view text) {
  std::string_view beginning = text;
  beginning.remove_prefix(std::min(text.find_first_not_of("0123456789"), text.size()));
  const auto* const rule = std::find_if(kRules.begin(), kRules.end(), [&](const Rule& known) {
    return beginning.starts_with(known.beginning);
  });
  if (rule == kRules.end()) return false;
  if (rule->kind == kInSummary) return true;
  const std::lock_guard lock(mutex);
  Kind& kind = kinds[rule->kind];
  if (++kind.count <= kNamed) kind.paths.emplace_back(text.substr(rule->beginning.size()));
  return true;
}

std::vector<std::string> LogDigest::lines() const {
  const std::lock_guard lock(mutex);
  std::vector<std::string> texts;
  for (std::size_t i = 0; i < kinds.size(); ++i) {
    const Kind& kind = kinds[i];
    if (kind.count == 0) continue;
    const std::string found =
        kind.count == 1 ? kMeanings[i].one : std::to_string(kind.count) + kMeanings[i].many;
    const std::size_t more = kind.count - kind.paths.size();
    texts.push_back(found + ": " + boost::algorithm::join(kind.paths, ", ") +
                    (more == 0 ? "" : " and " + std::to_string(more) + " more; -v lists all"));
  }
  return texts;
}

}  // namespace orvel::cli
