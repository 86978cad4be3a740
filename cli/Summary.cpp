#include "cli/Summary.h"

#include <orvel/Settings.h>
#include <cmath>
#include <csignal>
#include <sstream>

#include "cli/DisplayText.h"

namespace orvel::cli {

namespace {

std::string seconds(double value) {
  std::ostringstream text;
  text.setf(std::ios::fixed);
  text.precision(2);
  text << value << " s";
  return text.str();
}

std::string counted(std::int64_t count, const char* one, const char* many) {
  return std::to_string(count) + " " + (count == 1 ? one : many);
}

/// Only where there are any, since the line is long.
std::string refusedPlaylists(const ProgressSnapshot::Playlists& playlists) {
  std::string text;
  if (playlists.refused != 0) text += ", " + std::to_string(playlists.refused) + " refused";
  if (playlists.cut != 0) text += ", " + std::to_string(playlists.cut) + " cut";
  return text;
}

void describePartition(std::ostream& out, const PartitionResult& partition) {
  const ProgressSnapshot& progress = partition.progress;
  const ProgressSnapshot::Songs& songs = progress.songs;
  out << displayText(partition.mountPoint) << "\n  Songs      " << songs.found
      << " found: " << songs.added << " new or changed, " << songs.unchanged << " unchanged, "
      << songs.removed << " removed; " << songs.stored << " stored, " << songs.skipped
      << " skipped\n"
      << "  Playlists  " << progress.playlists.found << " found, " << progress.playlists.stored
      << " read" << refusedPlaylists(progress.playlists) << "\n"
      << "  Folders    " << progress.directories.found << " found, " << progress.directories.stored
      << " with music\n";
  if (partition.ok() && progress.databaseExisted && !progress.contentModified &&
      songs.removed == 0) {
    out << "  Nothing has changed since the last run.\n";
  }
  if (progress.limitReached) {
    out << "  The limit of " << Limits().songs
        << " songs is reached: further songs are not looked at.\n";
  }
  if (progress.folderLimitReached) {
    out << "  The limit of " << Limits().folders
        << " folders is reached: further folders are not looked at.\n";
  }
  if (progress.isolationFailed) {
    out << "  Tags were read without isolation: the tag reader could not be started.\n";
  }
  for (const std::string& reason : partition.leftUndone) {
    out << "  Left undone: " << displayText(reason) << "\n";
  }
}

void describeEnd(std::ostream& out, const IndexResult& result) {
  if (result.signal != 0) {
    out << "Interrupted by " << (result.signal == SIGINT ? "Ctrl-C" : "a signal") << " after "
        << seconds(result.seconds)
        << ". What was stored is kept; run the same command again to carry on.\n";
    return;
  }
  out << "Finished in " << seconds(result.seconds);
  if (result.firstSongSeconds) {
    out << ", the first songs stored after " << seconds(*result.firstSongSeconds);
  }
  out << ". Status " << result.status() << ".\n";
  if (!result.ok()) out << "Run the same command again to do what was left undone.\n";
}

}  // namespace

std::string readableSize(std::int64_t bytes) {
  constexpr double kKilobyte = 1024;
  std::ostringstream text;
  text.setf(std::ios::fixed);
  const double kilobytes = static_cast<double>(bytes) / kKilobyte;
  const double megabytes = kilobytes / kKilobyte;
  if (kilobytes < kKilobyte) {
    text << static_cast<std::int64_t>(std::ceil(kilobytes)) << " KB";
    return text.str();
  }
  text.precision(1);
  if (megabytes < kKilobyte) {
    text << megabytes << " MB";
  } else {
    text << megabytes / kKilobyte << " GB";
  }
  return text.str();
}

std::string readableTotals(const browse::Totals& totals) {
  return counted(totals.songs, "song", "songs") + ", " +
         counted(totals.artists, "artist", "artists") + ", " +
         counted(totals.albums, "album", "albums") + ", " +
         counted(totals.genres, "genre", "genres") + ", " +
         counted(totals.composers, "composer", "composers") + ", " +
         counted(totals.directories, "folder", "folders") + ", " +
         counted(totals.playlists, "playlist", "playlists");
}

std::string summary(const IndexResult& result) {
  std::ostringstream out;
  for (const PartitionResult& partition : result.partitions) describePartition(out, partition);
  if (result.partitions.empty()) {
    out << displayText(result.deviceId) << (result.deviceId.empty() ? "" : ": ")
        << "Interrupted before indexing began.\n";
    return out.str();
  }
  out << "Database " << displayText(result.database) << ", " << readableSize(result.databaseBytes)
      << "\n";
  if (result.totals) out << "  " << readableTotals(*result.totals) << "\n";
  describeEnd(out, result);
  return out.str();
}

}  // namespace orvel::cli
