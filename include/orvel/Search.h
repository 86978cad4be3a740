#pragma once

#include <orvel/Export.h>

#include <string>
#include <string_view>

namespace orvel {

/// Makes the form of a text in which search compares, and in which a host can compare names as
/// people do: the words of the text, each after one blank, without case, accents and differences of
/// width. Kana become Latin letters by their sound; other scripts stay. Apostrophes vanish, other
/// marks end a word. A Han character and a change of script begin a word, too; there stands the
/// character U+0001. A text without letters and digits keeps its characters. Ill-formed UTF-8
/// becomes U+FFFD. Any thread; throws nothing but std::bad_alloc.
ORVEL_EXPORT std::string foldedText(std::string_view text);

}  // namespace orvel
