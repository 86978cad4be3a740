#include <gtest/gtest.h>

#include <thread>

#include "bench/text/TrackSet.h"
#include "tools/text/TrackLine.h"

namespace orvel {
namespace {

struct Accuracy {
  int wrong = 0;
  int westernWrong = 0;
};

Accuracy accuracyOf(const std::vector<KnownTrack>& tracks) {
  Accuracy accuracy;
  for (const KnownTrack& track : tracks) {
    if (guessTrackLine(track.line) == track.texts) continue;
    ++accuracy.wrong;
    accuracy.westernWrong += track.encoding == "windows-1252";
  }
  return accuracy;
}

TEST(TrackSetTest, nearlyAllTracksComeOutRight) {
  const std::vector<KnownTrack> tracks = readTrackSet(TRACK_SET);
  ASSERT_GT(tracks.size(), 400U);
  const Accuracy accuracy = accuracyOf(tracks);
  EXPECT_LE(accuracy.wrong, 4);
  EXPECT_EQ(accuracy.westernWrong, 0);
}

TEST(TrackSetTest, titlesAloneNearlyAllComeOutRight) {
  const Accuracy accuracy = accuracyOf(readTrackSet(TRACK_SET, 1));
  EXPECT_LE(accuracy.wrong, 10);
  EXPECT_EQ(accuracy.westernWrong, 0);
}

/// Each class of tracks that is easily mistaken for another: signs and lone words of Western
/// titles, rare encodings, capitals, English words, bytes that show their encoding, mixed
/// encodings.
TEST(TrackSetTest, everyShapeOfTrackComesOutRight) {
  for (const KnownTrack& track : readTrackSet(TRACK_SHAPES))
    EXPECT_EQ(guessTrackLine(track.line), track.texts) << track.encoding << ", " << track.note;
}

}  // namespace
}  // namespace orvel
