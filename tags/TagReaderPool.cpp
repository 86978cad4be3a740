#include "tags/TagReaderPool.h"

#include <algorithm>
#include <utility>

namespace orvel {

void TagReaderPool::expect(std::string mountPoint, std::vector<std::string> paths) {
  const std::size_t cost = readers.front()->costOfBeginning();
  dealt = std::clamp<std::size_t>(paths.size() / cost, 1, readers.size());
  do {
    deal(mountPoint, paths);
  } while (!startDealt());
}

TagResult TagReaderPool::next(const std::string& path) {
  return readers[readerOf(finished++)]->next(path);
}

void TagReaderPool::deal(const std::string& mountPoint, const std::vector<std::string>& paths) {
  finished = 0;
  std::vector<std::vector<std::string>> hands(readers.size());
  for (std::size_t file = 0; file < paths.size(); ++file) {
    hands[readerOf(file)].push_back(paths[file]);
  }
  for (std::size_t i = 0; i < readers.size(); ++i) {
    readers[i]->expect(mountPoint, std::move(hands[i]));
  }
}

/// Makes the readers begin, because each is asked for results only after the one before it. False
/// when there are fewer of them than before.
bool TagReaderPool::startDealt() {
  if (dealt == 1) return true;
  for (std::size_t i = 0; i < dealt; ++i) {
    if (i == 0 ? readers[i]->begin() : readers[i]->beginBesides()) continue;
    dealt = std::max<std::size_t>(i, 1);
    readers.resize(dealt);
    return false;
  }
  return true;
}

std::size_t TagReaderPool::readerOf(std::size_t file) const {
  return file / PooledTagReader::kChunk % dealt;
}

}  // namespace orvel
