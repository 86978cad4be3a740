#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <iostream>
#include <map>
#include <memory>
#include <stdexcept>

#include "bench/text/TrackSet.h"
#include "tools/text/TrackLine.h"
#ifdef ORVEL_WITH_UCHARDET
#include "bench/text/Uchardet.h"
#endif

namespace {

using namespace orvel;

struct Tally {
  unsigned right = 0;
  unsigned all = 0;

  void count(bool good) {
    right += good;
    ++all;
  }
  double percent() const { return all ? 100.0 * right / all : 0; }
};

using Judge = std::function<std::string(const KnownTrack&)>;

/// Prints the share of correct tracks by language and by encoding, and the wrong Western ones.
void printAccuracy(const char* name, const std::vector<KnownTrack>& tracks, const Judge& judge,
                   bool details) {
  Tally all;
  std::map<std::string, Tally> groups;
  std::string wrong;
  for (const KnownTrack& track : tracks) {
    const std::string texts = judge(track);
    const bool good = texts == track.texts;
    all.count(good);
    groups["language " + track.language].count(good);
    groups["encoding " + track.encoding].count(good);
    if (!good && track.encoding == "windows-1252")
      wrong += "  " + track.texts + " -> " + texts + '\n';
  }
  std::printf("%s: %.2f %% of %u tracks, Western %.2f %%\n", name, all.percent(), all.all,
              groups["encoding windows-1252"].percent());
  if (!details) return;
  for (const auto& [group, tally] : groups)
    std::printf("  %-22s %6.2f %%  (%u of %u)\n", group.c_str(), tally.percent(), tally.right,
                tally.all);
  if (!wrong.empty()) std::printf("wrong Western tracks:\n%s", wrong.c_str());
}

/// The microseconds that `work` takes per track: the best of several rounds.
double microseconds(const std::vector<std::unique_ptr<TaggedTrack>>& tracks,
                    const std::function<void(const TaggedTrack&)>& work) {
  using Clock = std::chrono::steady_clock;
  double best = 1e9;
  for (int round = 0; round < 5; ++round) {
    const Clock::time_point start = Clock::now();
    for (const auto& track : tracks) work(*track);
    const std::chrono::duration<double, std::micro> taken = Clock::now() - start;
    best = std::min(best, taken.count() / static_cast<double>(tracks.size()));
  }
  return best;
}

void run(const std::string& path, size_t textCount) {
  const std::vector<KnownTrack> known = readTrackSet(path, textCount);
  std::vector<std::unique_ptr<TaggedTrack>> tagged;
  for (const KnownTrack& track : known) {
    tagged.push_back(std::make_unique<TaggedTrack>());
    if (!tagged.back()->read(track.line))
      throw std::runtime_error("not hexadecimal: " + track.line);
  }
  const auto guess = [](const KnownTrack& track) {
    return guessTrackLine(track.line).value_or("");
  };
  printAccuracy("orvel", known, guess, true);
  const double own = microseconds(tagged, [](const TaggedTrack& track) { track.guess(); });
  std::printf("time per track, guessed and converted: %.2f us\n", own);
#ifdef ORVEL_WITH_UCHARDET
  const auto detect = [](const KnownTrack& track) {
    TaggedTrack texts;
    texts.read(track.line);
    return textsRead(texts.texts(), uchardetEncoding(texts.texts()));
  };
  printAccuracy("uchardet, five texts joined", known, detect, false);
  const double other =
      microseconds(tagged, [](const TaggedTrack& track) { uchardetEncoding(track.texts()); });
  std::printf("time per track, detected only: %.2f us; ratio %.2f\n", other, own / other);
#else
  std::puts("comparison skipped: built without libuchardet (package libuchardet-dev)");
#endif
}

}  // namespace

/// Measures the guesser's accuracy on a set of tracks: orvel-textbench FILE [NUMBER_OF_TEXTS].
int main(int argc, char** argv) {
  if (argc < 2) {
    std::cerr << "usage: orvel-textbench FILE [NUMBER_OF_TEXTS]\n";
    return 2;
  }
  try {
    run(argv[1], argc > 2 ? std::strtoul(argv[2], nullptr, 10) : 5);
  } catch (const std::exception& error) {
    std::cerr << "orvel-textbench: " << error.what() << '\n';
    return 1;
  }
}
