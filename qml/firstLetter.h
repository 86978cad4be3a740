#pragma once

#include <QList>
#include <QString>

namespace orvel::qml {

/// The heading under which people look up a text: its first letter in upper case and without
/// accents, of a Hangul syllable the first sound, of kana the hiragana without marks, "#" for
/// digits and signs, and "" for an empty text.
QString firstLetter(const QString& text);

/// Compares headings: Latin first, then the other scripts, "#" and "" last.
bool isLetterBefore(const QString& letter, const QString& other);

}  // namespace orvel::qml
