#include "tags/isolation/makeTagReader.h"

#include <algorithm>
#include <thread>
#include <utility>

#include "base/Mutex.h"
#include "base/NoDestructor.h"
#include "tags/InProcessTagReader.h"
#include "tags/TagReaderPool.h"
#include "tags/TagReading.h"
#include "tags/isolation/IsolatedTagReader.h"

namespace orvel {

namespace {

/// More readers gain little, because one thread takes their results.
constexpr unsigned kMostReadersByItself = 3;

unsigned readersForThisProcessor() {
  return std::clamp(std::thread::hardware_concurrency(), 1U, kMostReadersByItself);
}

/// The host's choice. Never destroyed, because requests may begin until the process ends.
struct Choice {
  Mutex mutex;
  TagReading reading ORVEL_GUARDED_BY(mutex) = TagReading::InProcess;
  std::string program ORVEL_GUARDED_BY(mutex);
  unsigned readers ORVEL_GUARDED_BY(mutex) = readersForThisProcessor();
};

Choice& choice() {
  static NoDestructor<Choice> shared;
  return *shared;
}

/// @param patience  shared by the readers of one request
std::unique_ptr<PooledTagReader> makeReader(const Choice& chosen, std::stop_token token,
                                            ReadingGoal goal,
                                            std::shared_ptr<TagReaderPatience> patience)
    ORVEL_REQUIRES(chosen.mutex) {
  if (chosen.reading == TagReading::InProcess) {
    return std::make_unique<InProcessTagReader>(std::move(token), goal, std::move(patience));
  }
  return std::make_unique<IsolatedTagReader>(std::move(token), chosen.program, chosen.reading,
                                             std::move(patience), goal);
}

}  // namespace

void setTagReading(TagReading reading, const std::string& reader, unsigned readers) {
  Choice& chosen = choice();
  const MutexLock lock(chosen.mutex);
  chosen.reading = reading;
  chosen.program = reader.empty() ? ORVEL_TAG_READER : reader;
  chosen.readers = readers == 0 ? readersForThisProcessor() : readers;
}

ChosenTagReading chosenTagReading() {
  Choice& chosen = choice();
  const MutexLock lock(chosen.mutex);
  return {chosen.reading, chosen.program};
}

std::unique_ptr<TagReader> makeTagReader(const std::stop_token& token) {
  Choice& chosen = choice();
  const MutexLock lock(chosen.mutex);
  const auto patience = std::make_shared<TagReaderPatience>();
  TagReaderPool::Readers readers;
  while (readers.size() < chosen.readers) {
    readers.push_back(makeReader(chosen, token, ReadingGoal::Tags, patience));
  }
  return std::make_unique<TagReaderPool>(std::move(readers));
}

std::unique_ptr<TagReader> makePictureReader(std::stop_token token) {
  Choice& chosen = choice();
  const MutexLock lock(chosen.mutex);
  return makeReader(chosen, std::move(token), ReadingGoal::Picture,
                    std::make_shared<TagReaderPatience>());
}

}  // namespace orvel
