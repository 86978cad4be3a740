#include <algorithm>
#include <array>
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

/// One way to find the texts of a track.
struct Reader {
  const char* name;
  std::function<std::string(const KnownTrack&)> texts;
  std::function<void(const TaggedTrack&)> work;  ///< whose time counts
};

/// The groups in which a track counts.
std::array<std::string, 4> groupsOf(const KnownTrack& track) {
  return {"all", "language " + track.language, "encoding " + track.encoding, "shape " + track.note};
}

/// Prints the shares of correct tracks by language, encoding and shape, one column per reader.
/// Marks the rows in which another reader is better than the first.
void printAccuracy(const std::vector<KnownTrack>& tracks, const std::vector<Reader>& readers) {
  std::map<std::string, std::vector<Tally>> groups;
  for (const KnownTrack& track : tracks) {
    for (std::size_t i = 0; i < readers.size(); ++i) {
      const bool good = readers[i].texts(track) == track.texts;
      for (const std::string& group : groupsOf(track)) {
        groups[group].resize(readers.size());
        groups[group][i].count(good);
      }
    }
  }
  std::printf("%-28s %7s", "correct tracks, %", "tracks");
  for (const Reader& reader : readers) std::printf(" %9s", reader.name);
  std::puts("");
  for (const auto& [group, tallies] : groups) {
    std::printf("%-28s %7u", group.c_str(), tallies.front().all);
    for (const Tally& tally : tallies) std::printf(" %9.2f", tally.percent());
    const bool behind = std::ranges::max(tallies, {}, &Tally::right).right > tallies.front().right;
    std::puts(behind ? " <" : "");
  }
}

/// Prints the Western tracks that the reader gets wrong: the worst of errors, since nothing has to
/// be done for these.
void printWrongWestern(const std::vector<KnownTrack>& tracks, const Reader& reader) {
  for (const KnownTrack& track : tracks) {
    if (track.encoding != "windows-1252") continue;
    const std::string texts = reader.texts(track);
    if (texts != track.texts)
      std::printf("wrong Western track: %s -> %s\n", track.texts.c_str(), texts.c_str());
  }
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
  std::vector<Reader> readers{
      {"Orvel", [](const KnownTrack& track) { return guessTrackLine(track.line).value_or(""); },
       [](const TaggedTrack& track) { track.guess(); }}};
#ifdef ORVEL_WITH_UCHARDET
  // Detects the encoding of the five texts joined.
  readers.push_back({"uchardet",
                     [](const KnownTrack& track) {
                       TaggedTrack texts;
                       texts.read(track.line);
                       return textsRead(texts.texts(), uchardetEncoding(texts.texts()));
                     },
                     [](const TaggedTrack& track) { uchardetEncoding(track.texts()); }});
#else
  std::puts("comparison skipped: built without libuchardet (package libuchardet-dev)");
#endif
  printAccuracy(known, readers);
  printWrongWestern(known, readers.front());
  for (const Reader& reader : readers)
    std::printf("time per track, %s: %.2f us\n", reader.name, microseconds(tagged, reader.work));
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
