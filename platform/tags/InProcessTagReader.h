#pragma once

#include "platform/tags/TagReader.h"

namespace orvel {

/// Parses files on the calling thread.
class InProcessTagReader : public TagReader {
 public:
  explicit InProcessTagReader(std::stop_token token) : stopped(std::move(token)) {}

  void expect(std::vector<std::string> paths) override;
  TagResult next() override;

 private:
  const std::stop_token stopped;
  std::vector<std::string> files;
  std::size_t current = 0;
};

}  // namespace orvel
