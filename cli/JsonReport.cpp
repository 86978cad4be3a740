#include "cli/JsonReport.h"

#include <QJsonArray>
#include <QJsonObject>

#include "cli/JsonText.h"
#include "host/confinementName.h"

namespace orvel::cli {

namespace {

constexpr int kVersion = 1;

qint64 number(std::int64_t value) {
  return value;
}

/// null for none.
QJsonValue secondsOrNull(const std::optional<double>& seconds) {
  return seconds ? QJsonValue(*seconds) : QJsonValue();
}

QJsonArray texts(const std::vector<std::string>& values) {
  QJsonArray array;
  for (const std::string& value : values) array.append(jsonString(value));
  return array;
}

QJsonObject playlists(const ProgressSnapshot::Playlists& playlists) {
  return {{"found", number(playlists.found)},
          {"stored", number(playlists.stored)},
          {"refused", number(playlists.refused)},
          {"cut", number(playlists.cut)}};
}

QJsonObject directories(const ProgressSnapshot::Directories& directories) {
  return {{"found", number(directories.found)}, {"stored", number(directories.stored)}};
}

QJsonObject songs(const ProgressSnapshot::Songs& songs) {
  return {{"found", number(songs.found)},   {"unchanged", number(songs.unchanged)},
          {"new", number(songs.added)},     {"removed", number(songs.removed)},
          {"stored", number(songs.stored)}, {"skipped", number(songs.skipped)}};
}

/// null when no tags were read.
QJsonValue confinement(const std::optional<Confinement>& level) {
  const char* const name = host::confinementName(level);
  return name == nullptr ? QJsonValue() : QJsonValue(name);
}

QJsonObject partition(const PartitionResult& result) {
  const ProgressSnapshot& progress = result.progress;
  return {{"mount_point", jsonString(result.mountPoint)},
          {"status", result.status()},
          {"database_existed", progress.databaseExisted},
          {"content_modified", progress.contentModified},
          {"left_undone", texts(result.leftUndone)},
          {"limit_reached", progress.limitReached},
          {"folder_limit_reached", progress.folderLimitReached},
          {"isolation_failed", progress.isolationFailed},
          {"confinement", confinement(progress.confinement)},
          {"songs", songs(progress.songs)},
          {"playlists", playlists(progress.playlists)},
          {"directories", directories(progress.directories)},
          {"folder_tree_seconds", secondsOrNull(progress.folderTreeSeconds)}};
}

}  // namespace

QJsonValue jsonTotals(const std::optional<browse::Totals>& totals) {
  if (!totals) return {};
  return QJsonObject{
      {"songs", number(totals->songs)},         {"artists", number(totals->artists)},
      {"albums", number(totals->albums)},       {"genres", number(totals->genres)},
      {"composers", number(totals->composers)}, {"directories", number(totals->directories)},
      {"playlists", number(totals->playlists)}};
}

QJsonObject jsonReport(const IndexResult& result) {
  QJsonArray partitions;
  for (const PartitionResult& one : result.partitions) partitions.append(partition(one));
  return {{"version", kVersion},
          {"exit", result.exitStatus()},
          {"error", jsonTextOrNull(result.error.value_or(""))},
          {"interrupted", result.signal != 0},
          {"device_id", jsonString(result.deviceId)},
          {"database", jsonTextOrNull(result.database)},
          {"database_bytes", number(result.databaseBytes)},
          {"seconds", result.seconds},
          {"first_song_seconds", secondsOrNull(result.firstSongSeconds)},
          {"status", jsonTextOrNull(result.status() == nullptr ? "" : result.status())},
          {"partitions", partitions},
          {"totals", jsonTotals(result.totals)}};
}

}  // namespace orvel::cli
