#pragma once

#include <array>
#include <optional>
#include <string>
#include <string_view>

namespace orvel {

/// Gives the Asian texts of a song a form that sorts by plain byte order and starts with the letter
/// under which a person looks for it.
///
/// Kana of all kinds become hiragana, Hangul stays, Chinese becomes pinyin without tones, the kanji
/// of a Japanese and the hanja of a Korean song stay; ASCII becomes half-width lower case. Kana in
/// any text makes the song Japanese, else Hangul makes it Korean, else it is Chinese.
/// Any thread; ill-formed UTF-8 is skipped.
/// @param texts     title, artist, album, genre and composer in UTF-8
/// @param sortTags  what the file itself gives as sort form of the same fields, where it does: used
///                  in place of a text with Asian script when it has Asian script itself
/// @return the five forms in the same order, "" for a field without Asian script; nothing when no
///         field has any
std::optional<std::array<std::string, 5>> asianForms(
    const std::array<std::string_view, 5>& texts,
    const std::array<std::string_view, 5>& sortTags = {});

}  // namespace orvel
