#pragma once

#include <orvel/Server.h>

#include <boost/make_shared.hpp>
#include <cassert>
#include <utility>

#include "base/Log.h"
#include "base/Probes.h"
#include "base/StageThread.h"
#include "base/retryOnBadAlloc.h"
#include "framework/BaseServer.h"
#include "framework/Block.h"
#include "framework/HostListener.h"
#include "framework/RequestProgress.h"

// The bodies of Server, for code that instantiates it.
namespace orvel {

/// Runs the loop of the Runnable that `runnable` points to; returns null. The entry of every
/// server's thread.
void* runner(void* runnable);

template <class TIN, class TOUT>
Server<TIN, TOUT>::Server(const char* serverName, std::size_t threadStackBytes)
    : BaseServer<TIN>(serverName, threadStackBytes),
      progress(std::make_shared<RequestProgress>()),
      listener(&HostListener::none()) {}

template <class TIN, class TOUT>
Server<TIN, TOUT>::~Server() = default;

template <class TIN, class TOUT>
void Server<TIN, TOUT>::launch() {
  BaseServer<TIN>::launch();
  if (!this->launched()) progress->fail();
}

template <class TIN, class TOUT>
void Server<TIN, TOUT>::runLoop() {
  stageThread::enter(this->cancellation.get_token());
  bool holdsMutex = false;
  while (true) {
    const src_block_type_ptr block = this->pop(holdsMutex);
    if (!block || this->stopping()) break;
    {
      const probes::Span span(probes::Block{this->name, block->operation.id});
      process(block);
    }
    if (this->stopping()) break;
  }
  OV_INFO("%s EXITING Run Loop", this->name);
  if (holdsMutex) this->releaseQueue();
}

template <class TIN, class TOUT>
typename Server<TIN, TOUT>::sink_block_type_ptr Server<TIN, TOUT>::doOperation(
    src_block_type_ptr /*block*/) {
  return {};
}

template <class TIN, class TOUT>
void Server<TIN, TOUT>::process(const src_block_type_ptr& block) {
  assert(block != nullptr);
  try {
    if (sink == nullptr) {
      // Must not allocate: the pipeline and the controller count every result that reaches them.
      doOperation(block);
    } else {
      // Copy the request: a stage may hand its input block to another stage's thread.
      const Operation request = retryOnBadAlloc([&] { return block->operation; });
      // Only LAST blocks reach the pipeline: carry the mark of an earlier block over to that one.
      if (request.skipped) undoneOperation = request.id;
      processInto(*sink, request, block);
    }
  } catch (const std::exception& error) {
    OV_ERROR("%s: an error occured: %s", this->name, error.what());
    progress->leaveUndone(LeftUndone::StageFailed);
    // The request will never be counted to its end.
    if (sink != nullptr) progress->fail();
  }
}

template <class TIN, class TOUT>
void Server<TIN, TOUT>::processInto(BaseServer<TOUT>& target, const Operation& request,
                                    const src_block_type_ptr& block) {
  try {
    forward(target, doOperation(block));
  } catch (const std::exception& error) {
    sendFailure(target, request, error);
  }
}

template <class TIN, class TOUT>
void Server<TIN, TOUT>::forward(BaseServer<TOUT>& target, const sink_block_type_ptr& out) {
  if (!out) return;
  const bool last = out->operation.last;
  if (!this->running() && !last) {
    noteUndone(out->operation.id, LeftUndone::Interrupted);
    return;
  }
  markLast(out->operation);
  if (this->running() && last) this->signalCompletion(out->operation);
  target.enqueue(out);
}

template <class TIN, class TOUT>
void Server<TIN, TOUT>::sendFailure(BaseServer<TOUT>& target, const Operation& request,
                                    const std::exception& error) {
  OV_ERROR("%s: an error occured: %s", this->name, error.what());
  noteUndone(request.id, LeftUndone::StageFailed);
  if (!this->running() && !request.last) return;
  const auto empty = retryOnBadAlloc([&] { return boost::make_shared<TOUT>(request); });
  markLast(empty->operation);
  target.enqueue(empty);
}

template <class TIN, class TOUT>
void Server<TIN, TOUT>::leaveUndone(Operation& result, LeftUndone reason) {
  result.skipped = true;
  noteUndone(result.id, reason);
}

template <class TIN, class TOUT>
void Server<TIN, TOUT>::sendAhead(sink_block_type_ptr& block) {
  auto rest = boost::make_shared<TOUT>(block->operation);
  block->operation.last = false;
  if (sink != nullptr) sink->enqueue(block);
  block = std::move(rest);
}

template <class TIN, class TOUT>
void Server<TIN, TOUT>::noteUndone(int operationId, LeftUndone reason) {
  undoneOperation = operationId;
  // A stopped stage rolls its transaction back.
  const bool isRolledBack = reason == LeftUndone::RowsLost && this->stopping();
  progress->leaveUndone(isRolledBack ? LeftUndone::Interrupted : reason);
}

template <class TIN, class TOUT>
void Server<TIN, TOUT>::markLast(Operation& operation) const {
  if (operation.last && undoneOperation == operation.id) operation.skipped = true;
}

}  // namespace orvel
