#pragma once

#include <string>
#include <vector>

#include "tests/endtoend/IndexerHost.h"

namespace orvel::test {

/// A host with a small stick, in two states, that is indexed while something fails. Each case has a
/// folder of databases of its own.
class FaultStick : public IndexerHost {
 protected:
  static constexpr char kDevice[] = "dev1";

  /// Writes the stick's first state: three songs in two folders, and a playlist.
  void fillStick();
  /// One song retagged, one new, one gone, one as it was; the playlist has other entries.
  void changeStick();

  /// Gives the next case a fresh folder of databases; `database`, when given, is copied there.
  void beginCase(const std::string& database = "");
  /// Indexes the stick into a fresh folder and returns the contents; `keptAs` receives a copy.
  std::vector<std::string> indexFresh(const std::string& keptAs = "");

  /// Waits until the request has ended or counts as failed; false when it does neither.
  bool waitUntilEnded();
  /// The status in the file itself; "" where there is none.
  std::string storedStatus();
  std::string database() const { return databaseOf(kDevice); }

 private:
  int folders = 0;
};

}  // namespace orvel::test
