#include "qml/MediaModel.h"

#include <QElapsedTimer>
#include <QPromise>
#include <QQmlInfo>
#include <QThreadPool>
#include <QtConcurrent>
#include <algorithm>
#include <map>

namespace orvel::qml {

namespace {

/// Rows that are handed over at once: few enough for one frame.
constexpr int kPageRows = 250;
/// While a device is indexed its contents change all the time; people wait for the first rows only.
constexpr int kRestMs = 500;
constexpr int kRestWithoutRowsMs = 50;

const QHash<int, QByteArray>& namesOfRoles() {
  static const QHash<int, QByteArray> names = [] {
    const std::map<Role, const char*> texts = {
        {Role::Label, "label"},         {Role::Letter, "letter"},
        {Role::Kind, "kind"},           {Role::Cover, "cover"},
        {Role::Path, "path"},           {Role::Name, "name"},
        {Role::Title, "title"},         {Role::Artist, "artist"},
        {Role::Album, "album"},         {Role::AlbumArtist, "albumArtist"},
        {Role::Genre, "genre"},         {Role::Composer, "composer"},
        {Role::Track, "track"},         {Role::Disc, "disc"},
        {Role::Year, "year"},           {Role::Duration, "duration"},
        {Role::Directory, "directory"}, {Role::Parent, "parent"},
        {Role::Songs, "songs"},         {Role::Entries, "entries"},
        {Role::Position, "position"}};
    QHash<int, QByteArray> made;
    for (const auto& [role, text] : texts) made.insert(static_cast<int>(role), text);
    return made;
  }();
  return names;
}

/// Readings of all models, one after the other, so that the indexer keeps most of the machine.
QThreadPool& readers() {
  static QThreadPool pool;
  pool.setMaxThreadCount(1);
  return pool;
}

/// Inserted rows by pages.
void sendPages(RowChange&& change, const ChangeReceiver& send) {
  if (change.kind != RowChange::Kind::Insert) {
    send(std::move(change));
    return;
  }
  for (int sent = 0; sent < change.count; sent += kPageRows) {
    const int count = std::min(kPageRows, change.count - sent);
    const auto begin = change.rows.begin() + sent;
    send({RowChange::Kind::Insert, change.first + sent, count, 0, {begin, begin + count}});
  }
}

}  // namespace

MediaModel::MediaModel(QObject* parent) : QAbstractListModel(parent) {
  start.setSingleShot(true);
  connect(&start, &QTimer::timeout, this, &MediaModel::read);
  connect(&reading, &QFutureWatcherBase::resultReadyAt, this,
          [this](int index) { take(reading.resultAt(index)); });
  connect(&reading, &QFutureWatcherBase::finished, this, &MediaModel::finish);
}

MediaModel::~MediaModel() {
  reading.cancel();
}

int MediaModel::rowCount(const QModelIndex& parent) const {
  return parent.isValid() ? 0 : count();
}

QVariant MediaModel::data(const QModelIndex& index, int role) const {
  if (!checkIndex(index, CheckIndexOption::IndexIsValid)) return {};
  const MediaRow& row = *rows[static_cast<std::size_t>(index.row())];
  return row.value(role == Qt::DisplayRole ? Role::Label : static_cast<Role>(role));
}

QHash<int, QByteArray> MediaModel::roleNames() const {
  return namesOfRoles();
}

QVariantMap MediaModel::get(int row) const {
  QVariantMap values;
  if (row < 0 || row >= count()) return values;
  for (auto role = namesOfRoles().begin(); role != namesOfRoles().end(); ++role) {
    const QVariant value =
        rows[static_cast<std::size_t>(row)]->value(static_cast<Role>(role.key()));
    if (value.isValid()) values.insert(QString::fromLatin1(role.value()), value);
  }
  return values;
}

void MediaModel::setDatabase(const QString& file) {
  if (file == database()) return;
  query.database = file.toStdString();
  queryChanged();
  Q_EMIT databaseChanged();
}

void MediaModel::setGeneration(qulonglong wanted) {
  if (wanted == wantedGeneration) return;
  wantedGeneration = wanted;
  isOutdated = true;
  if (!isLoading && !start.isActive()) start.start(restMs());
  Q_EMIT generationChanged();
}

void MediaModel::setKind(const QString& wanted) {
  if (wanted == wantedKind) return;
  const auto found = browse::listKinds().find(wanted.toStdString());
  if (found == browse::listKinds().end()) {
    qmlWarning(this) << "There is no kind '" << wanted
                     << "'. There are: songs, artists, albums, genres, composers, directories, "
                        "playlists.";
    return;
  }
  wantedKind = wanted;
  query.list.kind = found->second;
  queryChanged();
  Q_EMIT kindChanged();
}

void MediaModel::setFilter(const QVariantMap& wanted) {
  if (wanted == wantedFilter) return;
  wantedFilter = wanted;
  const std::map<QString, std::optional<std::string>*> parts = {
      {QStringLiteral("artist"), &query.list.artist},
      {QStringLiteral("album"), &query.list.album},
      {QStringLiteral("genre"), &query.list.genre},
      {QStringLiteral("playlist"), &query.list.playlist},
      {QStringLiteral("directory"), &query.list.directory},
      {QStringLiteral("composer"), &query.list.composer},
      {QStringLiteral("parent"), &query.parent}};
  for (const auto& [name, part] : parts) {
    const QVariant text = wanted.value(name);
    *part = text.isValid() ? std::optional(text.toString().toStdString()) : std::nullopt;
  }
  for (auto entry = wanted.begin(); entry != wanted.end(); ++entry) {
    if (!parts.contains(entry.key())) qmlWarning(this) << "There is no filter " << entry.key();
  }
  queryChanged();
  Q_EMIT filterChanged();
}

void MediaModel::setSearch(const QString& words) {
  if (words == search()) return;
  query.words = words.toStdString();
  queryChanged();
  Q_EMIT searchChanged();
}

void MediaModel::setFinding(bool wanted) {
  if (wanted == isFinding) return;
  isFinding = wanted;
  queryChanged();
  Q_EMIT findingChanged();
}

QVariantList MediaModel::letters() const {
  QVariantList letters;
  const QString* last = nullptr;
  for (int i = 0; i < count(); ++i) {
    const MediaRow& row = *rows[static_cast<std::size_t>(i)];
    if (row.isHidden || row.letter.isEmpty()) break;
    if (last != nullptr && *last == row.letter) continue;
    last = &row.letter;
    letters.append(QVariantMap{{QStringLiteral("letter"), row.letter}, {QStringLiteral("row"), i}});
  }
  return letters;
}

void MediaModel::queryChanged() {
  reading.cancel();
  // While people type, the last finds stay until there are others.
  if (!isFinding || query.words.empty()) clear();
  setError({});
  start.start(0);
}

void MediaModel::read() {
  isOutdated = false;
  if (query.database.empty() || (isFinding && query.words.empty())) {
    clear();
    setLoading(false);
    return;
  }
  setLoading(true);
  reading.setFuture(QtConcurrent::run(&readers(), [query = query,
                                                   before = rows](QPromise<Message>& promise) {
    try {
      const MediaRows after = readMedia(query, [&] { return promise.isCanceled(); });
      if (promise.isCanceled()) return;
      const auto send = [&](RowChange&& change) {
        promise.addResult(Message{std::move(change), {}});
      };
      findChanges(before, after, [&](RowChange&& change) { sendPages(std::move(change), send); });
    } catch (const std::exception& error) {
      promise.addResult(Message{{}, QString::fromUtf8(error.what())});
    }
  }));
}

void MediaModel::take(const Message& message) {
  if (reading.isCanceled()) return;
  setError(message.error);
  if (!message.error.isEmpty()) return;
  const RowChange& change = message.change;
  const int last = change.first + change.count - 1;
  switch (change.kind) {
    case RowChange::Kind::Insert:
      beginInsertRows({}, change.first, last);
      change.applyTo(rows);
      endInsertRows();
      Q_EMIT countChanged();
      break;
    case RowChange::Kind::Remove:
      beginRemoveRows({}, change.first, last);
      change.applyTo(rows);
      endRemoveRows();
      Q_EMIT countChanged();
      break;
    case RowChange::Kind::Move:
      beginMoveRows({}, change.first, change.first, {},
                    change.to > change.first ? change.to + 1 : change.to);
      change.applyTo(rows);
      endMoveRows();
      break;
    case RowChange::Kind::Update:
      change.applyTo(rows);
      Q_EMIT dataChanged(index(change.first), index(last));
      break;
  }
}

void MediaModel::finish() {
  if (reading.isCanceled()) return;
  setLoading(false);
  Q_EMIT lettersChanged();
  if (isOutdated) start.start(restMs());
}

int MediaModel::restMs() const {
  return rows.empty() ? kRestWithoutRowsMs : kRestMs;
}

void MediaModel::clear() {
  if (rows.empty()) return;
  beginRemoveRows({}, 0, count() - 1);
  rows.clear();
  endRemoveRows();
  Q_EMIT countChanged();
  Q_EMIT lettersChanged();
}

void MediaModel::setLoading(bool wanted) {
  if (wanted == isLoading) return;
  isLoading = wanted;
  Q_EMIT loadingChanged();
}

void MediaModel::setError(const QString& text) {
  if (text == problem) return;
  problem = text;
  Q_EMIT errorChanged();
}

}  // namespace orvel::qml
