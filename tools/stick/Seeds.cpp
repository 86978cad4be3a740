#include "tools/stick/Seeds.h"

#include <fstream>
#include <iterator>
#include <stdexcept>

namespace orvel::stick {

TagLib::ByteVector seed(const std::string& fileName) {
  const std::string path = std::string(ORVEL_STICK_SEEDS) + "/" + fileName;
  std::ifstream file(path, std::ios::binary);
  const std::string bytes{std::istreambuf_iterator<char>(file), {}};
  if (bytes.empty()) throw std::runtime_error("Cannot read the seed file " + path);
  return {bytes.data(), static_cast<unsigned int>(bytes.size())};
}

}  // namespace orvel::stick
