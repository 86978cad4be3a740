#pragma once

#include <array>
#include <optional>
#include <string>
#include <string_view>

namespace orvel {

/// Makes forms of a song's Asian texts that sort in plain byte order and start with the letter
/// under which people look them up.
///
/// Turns kana of all kinds into hiragana, Chinese into pinyin without tones, and ASCII into
/// half-width lower case. Keeps Hangul, the kanji of a Japanese song and the hanja of a Korean one.
/// Kana in any text makes the song Japanese; otherwise Hangul makes it Korean; otherwise it is
/// Chinese. Skips ill-formed UTF-8. Any thread.
/// @param texts     title, artist, album, genre and composer in UTF-8
/// @param sortTags  the file's own sort forms of the same fields, where it has any; one with Asian
///                  script replaces a text with Asian script
/// @return the five forms in the same order, "" for a field without Asian script; nothing when no
///         field has any
std::optional<std::array<std::string, 5>> asianForms(
    const std::array<std::string_view, 5>& texts,
    const std::array<std::string_view, 5>& sortTags = {});

}  // namespace orvel
