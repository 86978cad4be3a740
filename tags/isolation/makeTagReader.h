#pragma once

#include <memory>
#include <stop_token>

#include "tags/TagReader.h"

namespace orvel {

/// Makes a reader of the kind that the host has chosen (`setTagReading`). Its work ends early when
/// `token` is raised. Any thread.
std::unique_ptr<TagReader> makeTagReader(const std::stop_token& token);

/// The same for pictures: reads `ReadingGoal::Picture` of every file.
std::unique_ptr<TagReader> makePictureReader(std::stop_token token);

}  // namespace orvel
