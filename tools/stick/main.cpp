#include <exception>
#include <iostream>
#include <string>

#include "tools/stick/SampleStick.h"

namespace {

const char usage[] =
    "Usage: orvel-make-stick sample DIR\n"
    "Writes folders of small, real songs. DIR must be new, empty or made by this program.\n";

}  // namespace

int main(int count, char** arguments) {
  try {
    if (count == 3 && std::string(arguments[1]) == "sample") {
      const int songs = orvel::stick::makeSampleStick(arguments[2]);
      std::cout << "Wrote " << songs << " songs to " << arguments[2] << "\n";
      return 0;
    }
    std::cerr << usage;
    return 2;
  } catch (const std::exception& error) {
    std::cerr << "orvel-make-stick: " << error.what() << "\n";
    return 1;
  }
}
