#pragma once

#include <functional>
#include <mutex>
#include <string>
#include <vector>

#include "db/FileInfo.h"
#include "framework/Server.h"

namespace orvel::test {

using Files = Block<FileInfo*>;
using FilesPtr = boost::shared_ptr<Files>;

inline FilesPtr filesOf(int operationId, bool last, int items = 0) {
  auto block = boost::make_shared<Files>(Operation(operationId, 0, "device", "/mount", last));
  for (int i = 0; i < items; ++i) {
    block->items.push_back(new FileInfo("/mount/" + std::to_string(i) + ".mp3", 0, i));
  }
  return block;
}

/// A real stage whose work is a function. Remembers its input blocks and its completions.
class TestStage : public Server<Files, Files> {
 public:
  explicit TestStage(const char* stageName, std::size_t stack = kStageStackBytes)
      : Server(stageName, stack) {}
  ~TestStage() override {
    Server::stop();
    Server::join();
  }

  FilesPtr doOperation(FilesPtr block) override {
    {
      const std::lock_guard lock(mutexOfSeen);
      seen.push_back(block->operation);
    }
    return work ? work(block) : block;
  }

  void signalCompletion(const Operation& operation) override {
    const std::lock_guard lock(mutexOfSeen);
    completed.push_back(operation.id);
  }

  [[nodiscard]] std::vector<Operation> received() const {
    const std::lock_guard lock(mutexOfSeen);
    return seen;
  }
  [[nodiscard]] std::vector<int> completions() const {
    const std::lock_guard lock(mutexOfSeen);
    return completed;
  }
  [[nodiscard]] int currentState() const { return state; }
  using Server::leaveUndone;

  std::function<FilesPtr(FilesPtr)> work;  ///< set before launch; none hands the block on

 private:
  mutable std::mutex mutexOfSeen;
  std::vector<Operation> seen;
  std::vector<int> completed;
};

}  // namespace orvel::test
