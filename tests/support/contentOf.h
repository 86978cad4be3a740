#pragma once

#include <fstream>
#include <iterator>
#include <string>

namespace orvel::test {

/// The bytes of a file; none when it cannot be read.
inline std::string contentOf(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(in), {}};
}

}  // namespace orvel::test
