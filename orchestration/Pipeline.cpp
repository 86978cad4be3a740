#include "orchestration/Pipeline.h"

#include <algorithm>
#include <cstdint>

#include "base/Log.h"

namespace orvel {

using PipelineBase = Pipeline<Block<void>, Block<void>>;

PipelineBase::~Pipeline() {
  for (const Runnable* stage : stages) delete stage;
}

void PipelineBase::launch() {
  Server::launch();
  for (Runnable* stage : stages) stage->launch();
}

void PipelineBase::start() {
  for (Runnable* stage : stages) stage->start();
  Server::start();
}

void PipelineBase::pause() {
  OV_INFO("pause");
  for (Runnable* stage : stages) stage->pause();
  Server::pause();
}

void PipelineBase::stop() {
  OV_INFO("stop %x", static_cast<unsigned>(reinterpret_cast<std::uintptr_t>(this)));
  for (Runnable* stage : stages) stage->stop();
  Server::stop();
}

void PipelineBase::join() {
  Server::join();
  for (auto stage = stages.rbegin(); stage != stages.rend(); ++stage) (*stage)->join();
}

bool PipelineBase::hasEndedBy(Deadline deadline) {
  return Server::hasEndedBy(deadline) &&
         std::all_of(stages.begin(), stages.end(),
                     [&](Runnable* stage) { return stage->hasEndedBy(deadline); });
}

PipelineBase::sink_block_type_ptr PipelineBase::doOperation(src_block_type_ptr block) {
  return block;
}

}  // namespace orvel
