#pragma once

#include <memory>
#include <vector>

#include "framework/Server.h"

namespace orvel {

template <class TIN, class TOUT>
class Pipeline;

/// A server that owns an ordered list of stages and passes every life-cycle call on to them. Stops
/// its stages before itself, and joins itself before its stages, the last one first.
template <>
class Pipeline<Block<void>, Block<void>> : public Server<Block<void>, Block<void>> {
 public:
  using Server::Server;
  ~Pipeline() override;

  void launch() override;
  void start() override;
  void pause() override;
  void stop() override;
  void join() override;
  bool hasEndedBy(Deadline deadline) override;
  /// Returns its input unchanged.
  sink_block_type_ptr doOperation(src_block_type_ptr block) override;

 protected:
  /// Registers a stage after the earlier ones; returns it.
  template <class Stage>
  Stage* add(std::unique_ptr<Stage> stage) {
    stage->progress = progress;
    stage->listener = listener;
    Stage* const added = stage.get();
    stages.push_back(std::move(stage));
    return added;
  }

  std::vector<std::unique_ptr<Runnable>> stages;  ///< in the order of registration
};

}  // namespace orvel
