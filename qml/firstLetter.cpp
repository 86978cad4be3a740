#include "qml/firstLetter.h"

#include <glib.h>

#include "base/GlibText.h"

namespace orvel::qml {

namespace {

constexpr char32_t kFirstSyllable = 0xAC00;
constexpr char32_t kLastSyllable = 0xD7A3;
constexpr char32_t kSyllablesOfSound = 588;
constexpr char16_t kSounds[] = u"ㄱㄲㄴㄷㄸㄹㅁㅂㅃㅅㅆㅇㅈㅉㅊㅋㅌㅍㅎ";

bool isThai(char32_t code) {
  return code >= 0x0E40 && code <= 0x0E44;
}

/// The first character that counts: after spaces, quotes and the vowels that Thai writes first.
char32_t firstCharacter(const QString& text) {
  char32_t first = 0;
  for (const char32_t code : text.toUcs4()) {
    if (g_unichar_isspace(code) != 0 || g_unichar_ispunct(code) != 0) {
      if (first == 0) first = code;
      continue;
    }
    if (!isThai(code)) return code;
  }
  return first;
}

/// Small kana and those with marks stand under the plain ones.
char32_t plainKana(char32_t code) {
  if (code >= U'ァ' && code <= U'ヶ') code -= U'ァ' - U'ぁ';
  constexpr std::u32string_view kSmall = U"ぁぃぅぇぉっゃゅょゎゕゖ";
  constexpr std::u32string_view kLarge = U"あいうえおつやゆよわかけ";
  const auto place = kSmall.find(code);
  return place == std::u32string_view::npos ? code : kLarge[place];
}

/// Without accents and other marks.
char32_t bareCharacter(char32_t code) {
  char32_t bare[G_UNICHAR_MAX_DECOMPOSITION_LENGTH] = {};
  const bool isHangul = code >= kFirstSyllable && code <= kLastSyllable;
  if (isHangul) return kSounds[(code - kFirstSyllable) / kSyllablesOfSound];
  g_unichar_fully_decompose(code, TRUE, reinterpret_cast<gunichar*>(bare), std::size(bare));
  return g_unichar_toupper(plainKana(bare[0]));
}

int groupOf(const QString& letter) {
  if (letter.isEmpty()) return 3;
  if (letter == QLatin1String("#")) return 2;
  return letter[0].unicode() < 0x80 ? 0 : 1;
}

}  // namespace

QString firstLetter(const QString& text) {
  if (text.isEmpty()) return {};
  const char32_t letter = bareCharacter(firstCharacter(text));
  if (g_unichar_isalpha(letter) == 0) return QStringLiteral("#");
  return QString::fromUcs4(&letter, 1);
}

bool isLetterBefore(const QString& letter, const QString& other) {
  const int group = groupOf(letter);
  const int otherGroup = groupOf(other);
  return group != otherGroup ? group < otherGroup : letter < other;
}

}  // namespace orvel::qml
