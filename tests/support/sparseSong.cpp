#include "tests/support/sparseSong.h"

#include <filesystem>
#include <fstream>

namespace orvel::test {

void writeSparseSong(const std::string& path, const std::string& title, std::uintmax_t bytes) {
  const auto size = [](std::size_t small) {
    return std::string(3, '\0') + static_cast<char>(small);
  };
  const std::string text = '\0' + title;  // 0: Latin-1
  const std::string frame = "TIT2" + size(text.size()) + std::string(2, '\0') + text;
  std::ofstream out;
  out.exceptions(std::ios::failbit | std::ios::badbit);
  out.open(path, std::ios::binary);
  out << "ID3" << '\3' << std::string(2, '\0') << size(frame.size()) << frame;
  out.close();
  std::filesystem::resize_file(path, bytes);
}

}  // namespace orvel::test
