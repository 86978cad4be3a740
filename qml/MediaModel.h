#pragma once

#include <QtQml/qqmlregistration.h>
#include <QAbstractListModel>
#include <QFutureWatcher>
#include <QTimer>
#include <QVariantMap>

#include "qml/MediaReading.h"
#include "qml/RowChange.h"

namespace orvel::qml {

/// The songs, artists, albums, genres, composers, folders or playlists of a database, or whatever a
/// search finds. Reads on a thread of its own and again when `generation` changes; rows that stay
/// keep their place. QML's thread only.
class MediaModel : public QAbstractListModel {
  Q_OBJECT
  QML_ELEMENT
  /// The file. Empty: no rows.
  Q_PROPERTY(QString database READ database WRITE setDatabase NOTIFY databaseChanged)
  /// Any number that changes with the contents: bind it to a device's.
  Q_PROPERTY(qulonglong generation READ generation WRITE setGeneration NOTIFY generationChanged)
  /// "songs", "artists", "albums", "genres", "composers", "directories" or "playlists".
  Q_PROPERTY(QString kind READ kind WRITE setKind NOTIFY kindChanged)
  /// Texts that rows or their songs must have: "artist", "album", "genre", "composer", "playlist",
  /// "directory"; for folders also "parent", the path of the folder that holds them. An empty text
  /// asks for songs without; an undefined one for all.
  Q_PROPERTY(QVariantMap filter READ filter WRITE setFilter NOTIFY filterChanged)
  /// Words, each of which begins a word of every row; empty: all rows.
  Q_PROPERTY(QString search READ search WRITE setSearch NOTIFY searchChanged)
  /// The search mode: empty `search` finds nothing, and rows are of all kinds.
  Q_PROPERTY(bool finding READ finding WRITE setFinding NOTIFY findingChanged)
  Q_PROPERTY(int count READ count NOTIFY countChanged)
  Q_PROPERTY(bool loading READ loading NOTIFY loadingChanged)
  /// Why the database cannot be read, with the remedy; else empty.
  Q_PROPERTY(QString error READ error NOTIFY errorChanged)
  /// The first letters of the rows with their first rows: {letter, row}.
  Q_PROPERTY(QVariantList letters READ letters NOTIFY lettersChanged)

 public:
  explicit MediaModel(QObject* parent = nullptr);
  ~MediaModel() override;

  [[nodiscard]] int rowCount(const QModelIndex& parent = {}) const override;
  [[nodiscard]] QVariant data(const QModelIndex& index, int role) const override;
  [[nodiscard]] QHash<int, QByteArray> roleNames() const override;

  /// The values of a row by the names of the roles.
  Q_INVOKABLE QVariantMap get(int row) const;

  [[nodiscard]] QString database() const { return QString::fromStdString(query.database); }
  void setDatabase(const QString& file);
  [[nodiscard]] qulonglong generation() const { return wantedGeneration; }
  void setGeneration(qulonglong wanted);
  [[nodiscard]] QString kind() const { return wantedKind; }
  void setKind(const QString& wanted);
  [[nodiscard]] QVariantMap filter() const { return wantedFilter; }
  void setFilter(const QVariantMap& wanted);
  [[nodiscard]] QString search() const { return QString::fromStdString(query.words); }
  void setSearch(const QString& words);
  [[nodiscard]] bool finding() const { return isFinding; }
  void setFinding(bool wanted);
  [[nodiscard]] int count() const { return static_cast<int>(rows.size()); }
  [[nodiscard]] bool loading() const { return isLoading; }
  [[nodiscard]] QString error() const { return problem; }
  [[nodiscard]] QVariantList letters() const;

 Q_SIGNALS:
  void databaseChanged();
  void generationChanged();
  void kindChanged();
  void filterChanged();
  void searchChanged();
  void findingChanged();
  void countChanged();
  void loadingChanged();
  void errorChanged();
  void lettersChanged();

 private:
  /// A step, or the reason why there are none.
  struct Message {
    RowChange change;
    QString error;
  };

  /// Reads another list: the rows so far belong to none.
  void queryChanged();
  void read();
  void take(const Message& message);
  void finish();
  [[nodiscard]] int restMs() const;
  void clear();
  void setLoading(bool wanted);
  void setError(const QString& text);

  MediaQuery query;
  qulonglong wantedGeneration = 0;
  QString wantedKind = QStringLiteral("songs");
  QVariantMap wantedFilter;
  bool isFinding = false;
  MediaRows rows;
  QString problem;
  bool isLoading = false;
  bool isOutdated = false;  ///< the database has changed since the reading began
  QFutureWatcher<Message> reading;
  QTimer start;  ///< collects changes of properties, and rests between readings
};

}  // namespace orvel::qml
