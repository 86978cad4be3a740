#pragma once

#include <orvel/Settings.h>

#include <string>

#include "host/tagReaderNearby.h"

namespace orvel::qml {

/// Chooses the settings of the process's indexer, with which covers are fetched, too: strangers'
/// files are parsed in processes of their own.
inline void isolateReading(const std::string& databaseDirectory) {
  Settings settings;
  settings.databaseDirectory = databaseDirectory;
  settings.tagReading = TagReading::Isolated;
  settings.tagReaderProgram = host::tagReaderNearby();
  settings.workPriority = WorkPriority::Background;
  configure(settings);
}

}  // namespace orvel::qml
