#include "db/StoredDirectories.h"

#include <algorithm>
#include <iterator>

#include "db/SqlTexts.h"

namespace orvel {

std::size_t countDifferences(sqlstl::basic_sqlistream<char>& in, const std::string& prefix,
                             const std::vector<std::string>& ids) {
  std::vector<std::string> stored;
  in.query(sql::withPathPattern(sql::kSelectDirectoryIds, prefix, sql::kOrderByObjectId).c_str());
  std::string id;
  for (; in.good() && (in >> id); in.step()) stored.push_back(id);
  in.finalize();
  std::vector<std::string> differences;
  std::set_symmetric_difference(stored.begin(), stored.end(), ids.begin(), ids.end(),
                                std::back_inserter(differences));
  return differences.size();
}

}  // namespace orvel
