#include "tags/isolation/makeTagReader.h"

#include <utility>

#include "base/Mutex.h"
#include "base/NoDestructor.h"
#include "tags/InProcessTagReader.h"
#include "tags/TagReading.h"
#include "tags/isolation/IsolatedTagReader.h"

namespace orvel {

namespace {

/// The host's choice. Never destroyed, because requests may begin until the process ends.
struct Choice {
  Mutex mutex;
  TagReading reading ORVEL_GUARDED_BY(mutex) = TagReading::InProcess;
  std::string program ORVEL_GUARDED_BY(mutex);
};

Choice& choice() {
  static NoDestructor<Choice> shared;
  return *shared;
}

std::unique_ptr<TagReader> make(std::stop_token token, ReadingGoal goal) {
  Choice& chosen = choice();
  const MutexLock lock(chosen.mutex);
  if (chosen.reading == TagReading::InProcess) {
    return std::make_unique<InProcessTagReader>(std::move(token), goal);
  }
  return std::make_unique<IsolatedTagReader>(std::move(token), chosen.program, chosen.reading,
                                             IsolatedTagReader::kTimeLimit, goal);
}

}  // namespace

void setTagReading(TagReading reading, const std::string& reader) {
  Choice& chosen = choice();
  const MutexLock lock(chosen.mutex);
  chosen.reading = reading;
  chosen.program = reader.empty() ? ORVEL_TAG_READER : reader;
}

ChosenTagReading chosenTagReading() {
  Choice& chosen = choice();
  const MutexLock lock(chosen.mutex);
  return {chosen.reading, chosen.program};
}

std::unique_ptr<TagReader> makeTagReader(std::stop_token token) {
  return make(std::move(token), ReadingGoal::Tags);
}

std::unique_ptr<TagReader> makePictureReader(std::stop_token token) {
  return make(std::move(token), ReadingGoal::Picture);
}

}  // namespace orvel
