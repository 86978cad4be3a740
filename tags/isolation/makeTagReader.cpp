#include "tags/isolation/makeTagReader.h"

#include <algorithm>
#include <thread>
#include <utility>

#include "base/Mutex.h"
#include "base/NoDestructor.h"
#include "tags/InProcessTagReader.h"
#include "tags/TagReading.h"
#include "tags/isolation/IsolatedTagReader.h"
#include "tags/isolation/TagReaderPool.h"

namespace orvel {

namespace {

/// More readers gain little, because one thread takes their results.
constexpr unsigned kMostReadersByItself = 3;

/// The host's choice. Never destroyed, because requests may begin until the process ends.
struct Choice {
  Mutex mutex;
  TagReading reading ORVEL_GUARDED_BY(mutex) = TagReading::InProcess;
  std::string program ORVEL_GUARDED_BY(mutex);
  unsigned readers ORVEL_GUARDED_BY(mutex) = 0;
};

Choice& choice() {
  static NoDestructor<Choice> shared;
  return *shared;
}

unsigned readersForThisProcessor() {
  return std::clamp(std::thread::hardware_concurrency(), 1U, kMostReadersByItself);
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

std::unique_ptr<TagReader> makeTagReader(std::stop_token token) {
  Choice& chosen = choice();
  const MutexLock lock(chosen.mutex);
  if (chosen.reading == TagReading::InProcess) {
    return std::make_unique<InProcessTagReader>(std::move(token));
  }
  const auto patience = std::make_shared<TagReaderPatience>();
  TagReaderPool::Readers readers;
  while (readers.size() < chosen.readers) {
    readers.push_back(
        std::make_unique<IsolatedTagReader>(token, chosen.program, chosen.reading, patience));
  }
  return std::make_unique<TagReaderPool>(std::move(readers));
}

std::unique_ptr<TagReader> makePictureReader(std::stop_token token) {
  Choice& chosen = choice();
  const MutexLock lock(chosen.mutex);
  if (chosen.reading == TagReading::InProcess) {
    return std::make_unique<InProcessTagReader>(std::move(token), ReadingGoal::Picture);
  }
  return std::make_unique<IsolatedTagReader>(std::move(token), chosen.program, chosen.reading,
                                             std::make_shared<TagReaderPatience>(),
                                             ReadingGoal::Picture);
}

}  // namespace orvel
