#include "tags/ParsingThread.h"

#include <orvel/BaseServer.h>

#include <system_error>
#include <utility>

#include "base/Log.h"
#include "base/StageThread.h"
#include "base/StandardErrorSilence.h"
#include "base/startThread.h"
#include "tags/PooledTagReader.h"

namespace orvel {

namespace {
constexpr const char* kName = "TagParser";
}  // namespace

ParsingThread::ParsingThread(std::size_t files, std::function<ParsedFile()> parse,
                             std::stop_token token)
    : parseNext(std::move(parse)), stopped(std::move(token)), left(files) {
  for (Chunk* chunk : {&parsed, &taken, &ready}) chunk->reserve(PooledTagReader::kChunk);
  if (const int error = startThread(thread, kName, kMiningStackBytes, run, this)) {
    throw std::system_error(error, std::generic_category(), "cannot start a thread to parse tags");
  }
}

ParsingThread::~ParsingThread() {
  {
    const MutexLock lock(mutex);
    isClosing = true;
    changed.broadcast();
  }
  pthread_join(thread, nullptr);
}

ParsedFile ParsingThread::take() {
  if (next == taken.size()) askForMore();
  return std::move(taken[next++]);
}

/// Empties the chunk here, not on the thread: moved texts may share memory with what is left of
/// them, and TagLib reads the number of sharers unprotected.
void ParsingThread::askForMore() {
  taken.clear();
  next = 0;
  const MutexLock lock(mutex);
  isAsked = true;
  changed.broadcast();
  while (ready.empty()) changed.wait(mutex);
  taken.swap(ready);
  isAsked = false;
  changed.broadcast();
}

void* ParsingThread::run(void* parsingThread) {
  auto& self = *static_cast<ParsingThread*>(parsingThread);
  setLogOrigin(kName);
  stageThread::enter(self.stopped);
  do {
    self.parseChunk();
  } while (self.handOver());
  return nullptr;
}

void ParsingThread::parseChunk() {
  const StandardErrorSilence silence;
  do {
    parsed.push_back(parseNext());
    --left;
  } while (left > 0 && parsed.size() < PooledTagReader::kChunk && !parsed.back().isTroubled());
}

/// Returns true when more is to be parsed.
bool ParsingThread::handOver() {
  const bool isTroubled = parsed.back().isTroubled();
  const MutexLock lock(mutex);
  while (!isClosing && !ready.empty()) changed.wait(mutex);
  if (isClosing) return false;
  ready.swap(parsed);
  changed.broadcast();
  while (isTroubled && !isClosing && !(isAsked && ready.empty())) changed.wait(mutex);
  return left > 0 && !isClosing;
}

}  // namespace orvel
