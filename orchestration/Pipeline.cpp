#include "orchestration/Pipeline.h"

#include <algorithm>
#include <cstdint>

#include "base/Log.h"

namespace orvel {

using PipelineBase = Pipeline<Block<void>, Block<void>>;

PipelineBase::~Pipeline() {
  for (std::unique_ptr<Runnable>& stage : stages) stage.reset();
}

void PipelineBase::launch() {
  Server::launch();
  for (const auto& stage : stages) stage->launch();
}

void PipelineBase::start() {
  for (const auto& stage : stages) stage->start();
  Server::start();
}

void PipelineBase::pause() {
  OV_INFO("pause");
  for (const auto& stage : stages) stage->pause();
  Server::pause();
}

void PipelineBase::stop() {
  OV_INFO("stop %x", static_cast<unsigned>(reinterpret_cast<std::uintptr_t>(this)));
  for (const auto& stage : stages) stage->stop();
  Server::stop();
}

void PipelineBase::join() {
  Server::join();
  for (auto stage = stages.rbegin(); stage != stages.rend(); ++stage) (*stage)->join();
}

bool PipelineBase::hasEndedBy(Deadline deadline) {
  return Server::hasEndedBy(deadline) &&
         std::all_of(stages.begin(), stages.end(),
                     [&](const auto& stage) { return stage->hasEndedBy(deadline); });
}

PipelineBase::sink_block_type_ptr PipelineBase::doOperation(src_block_type_ptr block) {
  return block;
}

}  // namespace orvel
