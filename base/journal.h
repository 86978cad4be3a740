#pragma once

#include <orvel/Log.h>
#include <sys/stat.h>

#include <cstdlib>
#include <optional>
#include <sstream>
#include <utility>

namespace orvel {

/// True when `descriptor` leads to the system's journal, as the service manager says in the
/// environment variable JOURNAL_STREAM by device and inode. Any thread.
inline bool leadsToJournal(int descriptor) {
  using Identity = std::pair<dev_t, ino_t>;
  static const auto journal = [] {
    const char* named = std::getenv("JOURNAL_STREAM");
    std::istringstream text(named == nullptr ? "" : named);
    Identity identity;
    char colon = 0;
    const bool isNamed = text >> identity.first >> colon >> identity.second && colon == ':';
    return isNamed ? std::optional(identity) : std::nullopt;
  }();
  struct stat status {};
  return journal && fstat(descriptor, &status) == 0 &&
         Identity(status.st_dev, status.st_ino) == *journal;
}

/// The beginning of a line on `descriptor` that gives it the priority of `level` in the journal;
/// empty when the descriptor does not lead there.
inline const char* journalPrefix(int descriptor, LogLevel level) {
  if (!leadsToJournal(descriptor)) return "";
  switch (level) {
    case LogLevel::Error:
      return "<3>";
    case LogLevel::Warning:
      return "<4>";
    case LogLevel::Info:
      return "<6>";
    default:
      return "<7>";
  }
}

}  // namespace orvel
