// The rule that ends the audio switch's wait, including the cases in which it
// never ends (which the engine tests cannot wait for).
#include <gtest/gtest.h>

#include <vector>

#include "tracks/audio_tracks.h"

namespace korvid::tracks {
namespace {

const std::vector<AudioTrackEntry> kDescribed = {{-1, "Disable"}, {1, "Track 1"}, {2, "Track 2"}};

TEST(AudioTrackCheck, SucceedsOnlyOnceTheEngineLeavesADescribedRecordedTrack) {
  EXPECT_TRUE(HasLeftInitialTrack(kDescribed, 1, 2));
  EXPECT_TRUE(HasLeftInitialTrack(kDescribed, 1, -1));
  // Still on the recorded track: a switch back to it waits for ever.
  EXPECT_FALSE(HasLeftInitialTrack(kDescribed, 1, 1));
  // A recorded track the engine never described can never be left.
  EXPECT_FALSE(HasLeftInitialTrack(kDescribed, 7, 2));
  EXPECT_FALSE(HasLeftInitialTrack({}, 1, 2));
}

TEST(AudioTrackCheck, NoTrackAtTheFirstSwitchSucceedsAtOnce) {
  EXPECT_TRUE(HasLeftInitialTrack({}, -1, -1));
  EXPECT_TRUE(HasLeftInitialTrack(kDescribed, -1, 5));
}

}  // namespace
}  // namespace korvid::tracks
