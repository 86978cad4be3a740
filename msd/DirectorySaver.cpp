#include "msd/DirectorySaver.h"

#include "base/Timer.h"

namespace orvel {

namespace {

constexpr std::int32_t kNoParent = -1;

Directory& parentOf(const Block<Directory*>& block, const Directory& directory) {
  return *block.items.at(static_cast<std::size_t>(directory.parentIndex));
}

std::vector<std::string> idsOfMusicDirectories(const Block<Directory*>& block) {
  std::vector<std::string> ids;
  for (const Directory* directory : block.items) {
    if (directory->hasMusic) ids.push_back(directory->objectId.text());
  }
  return ids;
}

}  // namespace

DirectorySaver::sink_block_type_ptr DirectorySaver::doOperation(src_block_type_ptr block) {
  OV_INFO("DirectorySaver for: %u", static_cast<unsigned>(block->items.size()));
  const Timer timer;
  const Operation& operation = block->operation;
  auto result = boost::make_shared<Block<void>>(operation);
  propagateMusicPresence(block.get());
  open(operation.deviceId);
  const ClosingScope closing(*this);
  const Scope scope{operation.mountPoint,
                    sql::withPathPattern(sql::kDeleteDirectories, operation.mountPoint)};
  update(*block, scope, idsOfMusicDirectories(*block), result->operation);
  OV_INFO("DirectorySaver timer: %ld", timer.elapsedMs());
  return result;
}

void DirectorySaver::propagateMusicPresence(src_block_type* block) const {
  const Timer timer;
  for (const Directory* directory : block->items) {
    if (!directory->hasMusic) continue;
    while (directory->parentIndex != kNoParent) {
      Directory& parent = parentOf(*block, *directory);
      if (parent.hasMusic) break;
      parent.hasMusic = true;
      directory = &parent;
    }
  }
  OV_INFO("timer directory saver: %ld ", timer.elapsedMs());
}

void DirectorySaver::insertRows(const src_block_type& block) {
  for (const Directory* directory : block.items) {
    if (!directory->hasMusic) continue;
    const bool isRoot = directory->parentIndex == kNoParent;
    out << directory->partitionId.text() << directory->path << directory->name
        << directory->objectId.text()
        << (isRoot ? block.operation.deviceId : parentOf(block, *directory).objectId.text())
        << sqlstl::step;
  }
}

}  // namespace orvel
