#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

#include "fuzz/text/fuzzTexts.h"

/// Runs the inputs of a folder, without libFuzzer: replay FOLDER. Fails when there are none.
int main(int argc, char** argv) {
  if (argc != 2) return 2;
  unsigned inputs = 0;
  for (const auto& entry : std::filesystem::directory_iterator(argv[1])) {
    std::ifstream file(entry.path(), std::ios::binary);
    const std::vector<char> bytes{std::istreambuf_iterator<char>(file), {}};
    std::printf("%s\n", entry.path().filename().c_str());
    std::fflush(stdout);
    orvel::fuzzTexts(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size());
    ++inputs;
  }
  return inputs > 0 ? 0 : 1;
}
