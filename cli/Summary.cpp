#include "cli/Summary.h"

#include <orvel/Settings.h>
#include <QLocale>
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

/// A count with its meaning.
using Part = std::pair<unsigned, const char*>;

/// "72 found: 70 new, 2 removed", without parts that are 0.
std::string found(unsigned count, std::initializer_list<Part> parts) {
  std::string text = std::to_string(count) + " found";
  const char* separator = ": ";
  for (const auto& [partCount, meaning] : parts) {
    if (partCount == 0) continue;
    text += separator + std::to_string(partCount) + " " + meaning;
    separator = ", ";
  }
  return text;
}

std::string describeSongs(const ProgressSnapshot::Songs& songs) {
  const bool isPart = songs.stored + songs.skipped < songs.added;
  return found(songs.found, {{songs.added, "new or changed"},
                             {songs.unchanged, "unchanged"},
                             {songs.removed, "removed"},
                             {songs.skipped, "skipped"},
                             {isPart ? songs.stored : 0, "stored"}});
}

void describePartition(std::ostream& out, const PartitionResult& partition) {
  const ProgressSnapshot& progress = partition.progress;
  const ProgressSnapshot::Songs& songs = progress.songs;
  const ProgressSnapshot::Playlists& playlists = progress.playlists;
  out << displayText(partition.mountPoint) << "\n  Songs      " << describeSongs(songs)
      << "\n  Playlists  "
      << found(playlists.found, {{playlists.stored, "read"},
                                 {playlists.refused, "could not be read"},
                                 {playlists.cut, "cut"}})
      << "\n  Folders    "
      << found(progress.directories.found, {{progress.directories.stored, "with music"}}) << "\n";
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
  out << ".\n";
  if (!result.ok()) out << "Run the same command again to do what was left undone.\n";
}

}  // namespace

std::string readableSize(std::int64_t bytes) {
  return QLocale::c().formattedDataSize(bytes, 1, QLocale::DataSizeSIFormat).toStdString();
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
