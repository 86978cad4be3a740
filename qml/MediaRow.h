#pragma once

#include <QString>
#include <QVariant>
#include <memory>
#include <string>
#include <vector>

namespace orvel::qml {

/// The values of a row by which views ask for them. `label` is the text to show; it is empty for
/// songs' artists, albums and genres that nobody named.
enum class Role {
  Label = Qt::UserRole + 1,
  Letter,  ///< the heading under which people look the row up
  Kind,
  Cover,  ///< source of an Image
  Path,
  Name,
  Title,
  Artist,
  Album,
  AlbumArtist,
  Genre,
  Composer,
  Track,
  Disc,
  Year,
  Duration,
  Directory,
  Parent,
  Songs,
  Entries,
  Position,
};

/// One row of a list, which threads share once it is complete.
struct MediaRow {
  QString key;  ///< the same for the same thing in every reading
  QString label;
  QString letter;
  std::string sortText;  ///< the form that sorts, in UTF-8
  bool isHidden = false;
  std::vector<std::pair<Role, QVariant>> values;  ///< without those that are unknown

  [[nodiscard]] QVariant value(Role role) const;
  bool operator==(const MediaRow& other) const = default;
};

using MediaRowPointer = std::shared_ptr<const MediaRow>;
using MediaRows = std::vector<MediaRowPointer>;

}  // namespace orvel::qml
