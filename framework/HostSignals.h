#pragma once

#include <string>

/// What the indexer tells its host. Each may be called from any thread and never throws; a call
/// after the host's facade has gone is dropped.
namespace orvel::hostSignals {

void crawlingFinished(const std::string& mountPoint) noexcept;
void indexingFinished(const std::string& mountPoint) noexcept;
void contentModified(const std::string& mountPoint) noexcept;
void databaseExists(const std::string& deviceId, const std::string& mountPoint) noexcept;

}  // namespace orvel::hostSignals
