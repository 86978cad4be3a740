#include <gmock/gmock.h>

#include "tests/support/DatabaseFolderFixture.h"

namespace orvel::test {
namespace {

using testing::ElementsAre;

class Schema : public DatabaseFolderFixture {
 protected:
  Schema() { manager.createDb("dev", "/m", true); }
  std::vector<std::string> sql(const std::string& text) { return rowsOf("dev", text); }
};

TEST_F(Schema, OneBadRowNeverFailsAStep) {
  sql("INSERT INTO SONGS(PATH, OBJECTID) VALUES(NULL, 'o'), ('p', NULL), ('p', 'o');"
      "INSERT INTO SONGS(PATH, OBJECTID, ARTISTID, LASTMODIFIED, PARTITION_ID)"
      " VALUES('q', 'o', NULL, NULL, NULL);");
  EXPECT_THAT(sql("SELECT PATH, ARTISTID, COMPOSERID, LASTMODIFIED, PARTITION_ID FROM SONGS;"),
              ElementsAre("p|||0|", "q|||0|"));
  sql("INSERT INTO DIRECTORIES(PATH, OBJECTID) VALUES('a', '1'), ('b', '1'), ('c', NULL);"
      "INSERT INTO PLAYLISTS(PLAYPATH, TRACKID) VALUES(NULL, 't'), ('l', NULL);");
  EXPECT_THAT(sql("SELECT PATH FROM DIRECTORIES;"), ElementsAre("b"));
  EXPECT_THAT(sql("SELECT PLAYPATH, TRACKID FROM PLAYLISTS;"), ElementsAre("l|"));
}

TEST_F(Schema, PlaylistViewsGiveOneRowPerListAndHideTheRepeat) {
  EXPECT_THAT(sql("SELECT * FROM VIEW_PLAYLISTNAMES; SELECT * FROM VIEW_PLAYLISTENTRIES;"),
              ElementsAre());
  // In the order of storing; the last row of each list is its repeat.
  for (const std::string row : {"A|a", "A|b", "A|b", "B|x", "A|c", "A|c", "B|x", "C|p", "C|q",
                                "C|p", "C|p", "D|d", "D|d", "D|d"}) {
    sql("INSERT INTO PLAYLISTS(PLAYPATH, PLAYID, TRACKPATH, TRACKID, LASTMODIFIED) VALUES('/" +
        row.substr(0, 1) + "', '" + row.substr(0, 1) + "', '" + row.substr(2) + "', 't', 5);");
  }
  EXPECT_THAT(sql("SELECT ID, LASTMODIFIED, PLAYPATH FROM VIEW_PLAYLISTNAMES ORDER BY ID;"),
              ElementsAre("1|5|/A", "4|5|/B", "8|5|/C", "12|5|/D"));
  EXPECT_THAT(sql("SELECT PLAYID, GROUP_CONCAT(TRACKPATH, '') FROM (SELECT * FROM"
                  " VIEW_PLAYLISTENTRIES ORDER BY ID) GROUP BY PLAYID ORDER BY PLAYID;"),
              ElementsAre("A|abbc", "B|x", "C|pqp", "D|d"));
}

}  // namespace
}  // namespace orvel::test
