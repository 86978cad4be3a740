#include "mtp/MtpDirectorySaver.h"

#include <algorithm>
#include <string>
#include <unordered_set>

#include "base/Timer.h"
#include "mtp/MtpConnection.h"

namespace orvel {

namespace {

std::vector<std::string> idsOf(const Block<MtpDirectory*>& block) {
  std::vector<std::string> ids;
  ids.reserve(block.items.size());
  for (const MtpDirectory* directory : block.items) ids.push_back(directory->objectId.text());
  return ids;
}

}  // namespace

MtpDirectorySaver::sink_block_type_ptr MtpDirectorySaver::doOperation(src_block_type_ptr block) {
  OV_INFO("MtpDirectorySaver for: %u", static_cast<unsigned>(block->items.size()));
  const Timer timer;
  auto result = boost::make_shared<Block<void>>(block->operation);
  open(block->operation.deviceId);
  const ClosingScope closing(*this);
  if (!block->operation.skipped) {
    keepDoubtful(*block, result->operation);
    update(*block, {"", sql::kDeleteAllDirectories}, idsOf(*block), result->operation);
  }
  OV_INFO("MtpDirectorySaver timer: %ld", timer.elapsedMs());
  return result;
}

void MtpDirectorySaver::keepDoubtful(Block<MtpDirectory*>& block, Operation& result) {
  if (block.doubtful.empty()) return;
  std::unordered_set<std::string> known;
  for (const MtpDirectory* directory : block.items) known.insert(directory->path);
  const Operation& operation = block.operation;
  MtpConnection connection(operation.handle, operation.deviceId);
  in.query(sql::kSelectDirectoryPaths);
  std::string path;
  for (; in.good() && (in >> path); in.step()) {
    const bool isAbove =
        std::any_of(block.doubtful.begin(), block.doubtful.end(),
                    [&](const std::string& folder) { return folder.starts_with(path + "/"); });
    if ((!isAbove && !block.isDoubtful(path)) || !known.insert(path).second) continue;
    block.add(connection.generateDirectory(path, operation.mountPoint, operation.deviceId));
  }
  if (!in.eof()) leaveUndone(result, LeftUndone::RowsLost);
  in.finalize();
}

void MtpDirectorySaver::insertRows(const Block<MtpDirectory*>& block) {
  std::copy(block.items.begin(), block.items.end(),
            sqlstl::sqlostream_iterator<const MtpDirectory*>(out));
}

}  // namespace orvel
