#include "db/SqlTexts.h"

#include <gtest/gtest.h>

#include <regex>

#include "db/SqlStream.h"
#include "tests/support/LogCapture.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/support/rows.h"

namespace orvel::test {
namespace {

/// Writes every run of two or more blanks as its length in braces.
std::string counted(const std::string& sql) {
  std::string result;
  for (std::size_t i = 0; i < sql.size();) {
    const std::size_t end = std::min(sql.find_first_not_of(' ', i), sql.size());
    result += end - i > 1 ? "{" + std::to_string(end - i) + "}" : std::string(sql, i, end - i);
    if (end < sql.size()) result += sql[end];
    i = end + 1;
  }
  return result;
}

std::string replaceText(const std::string& table, const std::string& key, const std::string& name) {
  return "REPLACE INTO " + table + " (" + key + ",{40}" + name + ",{40}ASIAN" + name +
         "{39}){40}VALUES{40}(?,{40}?,{40}?);";
}

TEST(SqlTexts, HaveTheirExactRunsOfBlanks) {
  std::string songs = "INSERT INTO SONGS (PARTITION_ID";
  for (const char* column :
       {"PATH", "OBJECTID", "DIRECTORYID", "NAME", "TITLE", "ARTISTID", "ALBUMID", "GENREID",
        "COMPOSERID", "AUDIOTYPE", "BOOKMARK", "LASTMODIFIED"}) {
    songs.append(",{40}").append(column);
  }
  songs += ",{39}TRACKIND,{39}DISCNUM,{39}ASIANTITLE{41}){40}VALUES{40}(?";
  for (int i = 1; i < 16; ++i) songs += ",{40}?";
  EXPECT_EQ(counted(sql::kInsertSong), songs + ");");
  EXPECT_EQ(counted(sql::kReplaceGenre), replaceText("GENRES", "GENREID ", "GENRE"));
  EXPECT_EQ(counted(sql::kReplaceAlbum), replaceText("ALBUMS", "ALBUMID{2}", "ALBUM"));
  EXPECT_EQ(counted(sql::kReplaceArtist), replaceText("ARTISTS", "ARTISTID", "ARTIST"));
  EXPECT_EQ(counted(sql::kReplaceComposer), replaceText("COMPOSERS", "COMPOSERID{2}", "COMPOSER"));
  EXPECT_EQ(counted(sql::kInsertDirectory),
            "INSERT INTO DIRECTORIES (PARTITION_ID, PATH,{2}NAME, OBJECTID, PARENT_ID){45}"
            "VALUES (?,?,?,?,?);");
  EXPECT_EQ(counted(sql::kSelectSongs),
            "SELECT ID,LASTMODIFIED, PATH{2}FROM SONGS WHERE PATH LIKE ");
  // The other texts have single blanks only; these are what is easily lost.
  const std::regex cleaning(
      "BEGIN TRANSACTION; (DELETE FROM (ARTIST|ALBUM|GENRE|COMPOSER)S WHERE \\2ID NOT IN"
      " \\( SELECT DISTINCT \\2ID FROM SONGS\\);){4}COMMIT;");
  EXPECT_TRUE(std::regex_match(sql::kCleanNames, cleaning));
  EXPECT_EQ(std::string(sql::kClearPlaylists),
            "BEGIN TRANSACTION; DELETE FROM PLAYLISTS WHERE TRACKID NOT IN (SELECT OBJECTID from "
            "SONGS);COMMIT;");
  for (const char* single :
       {sql::kBeginTransaction, sql::kEndTransaction, sql::kCleanNames, sql::kSelectDirectoryIds,
        sql::kDeleteDirectories, sql::kDeleteAllDirectories, sql::kSelectAllSongs, sql::kDeleteSong,
        sql::kSelectPlaylists, sql::kSelectAllPlaylists, sql::kDeletePlaylist,
        sql::kInsertPlaylistEntry, sql::kClearPlaylists}) {
    EXPECT_EQ(counted(single), single);
  }
}

TEST(SqlTexts, PatternsMatchBelowTheMountPointAndNeverRunItsText) {
  const TemporaryFolder folder;
  const std::string file = folder.path("patterns.db");
  rows(file,
       "CREATE TABLE DIRECTORIES(PATH, OBJECTID); CREATE TABLE SONGS(ID, LASTMODIFIED, PATH);"
       "CREATE TABLE VIEW_PLAYLISTNAMES(ID, LASTMODIFIED, PLAYPATH);"
       "INSERT INTO DIRECTORIES "
       "VALUES('/media/it''s/a','2'),('/media/it''s','1'),('/media/o','3');");
  sqlstl::basic_sqlistream<char> in;
  sqlstl::basic_sqlostream<char> out;
  in.open(file.c_str(), 1000);
  out.open(file.c_str(), 1000);
  const auto idsBelow = [&](const std::string& mount) {
    in.query(sql::withPathPattern(sql::kSelectDirectoryIds, mount, sql::kOrderByObjectId).c_str());
    std::string ids;
    std::string id;
    for (; in.good() && (in >> id); in.step()) ids += id;
    return in.eof() ? ids : "failed";
  };
  EXPECT_EQ(idsBelow("/media/it's"), "12");
  EXPECT_EQ(idsBelow("/MEDIA/_"), "123");  // not escaped, and ASCII letters match in any case
  EXPECT_EQ(idsBelow("OBJECTID"), "");     // names no column

  const LogCapture log;
  for (const std::string mount :
       {"\"; DELETE FROM DIRECTORIES; --", "\" OR 1 OR \"", "/m\"; DROP TABLE SONGS; SELECT \""}) {
    EXPECT_EQ(idsBelow(mount), "failed");
    for (const char* text : {sql::kSelectSongs, sql::kSelectPlaylists}) {
      in.query(sql::withPathPattern(text, mount).c_str());
      EXPECT_TRUE(in.bad());
    }
    out.clear();
    out.exec(sql::withPathPattern(sql::kDeleteDirectories, mount).c_str());
    EXPECT_TRUE(out.bad());
  }
  EXPECT_EQ(log.texts("exec failed: 1 ").size(), 12U);
  EXPECT_EQ(rows(file, "SELECT COUNT(*) FROM DIRECTORIES; SELECT COUNT(*) FROM SONGS;"),
            (std::vector<std::string>{"3", "0"}));
}

}  // namespace
}  // namespace orvel::test
