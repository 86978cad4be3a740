#include <iostream>
#include <string>

#include "tools/text/TrackLine.h"

/// Reads tracks from the standard input as lines for `guessTrackLine` and writes the guessed texts
/// to the standard output, line by line. Exits with status 2 at a malformed line.
int main() {
  std::ios::sync_with_stdio(false);
  std::string line;
  for (unsigned number = 1; std::getline(std::cin, line); ++number) {
    const auto guessed = orvel::guessTrackLine(line);
    if (!guessed) {
      std::cout.flush();
      std::cerr << "orvel-textguess: line " << number
                << " is not five tab-separated fields of hexadecimal digits\n";
      return 2;
    }
    std::cout << *guessed << '\n';
  }
}
