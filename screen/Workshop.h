#pragma once

#include <QDir>
#include <QFile>
#include <QObject>
#include <QStringList>
#include <QTemporaryDir>

namespace orvel::screen {

/// Folders that the tour may take away: links to the real ones, and an empty one.
class Workshop : public QObject {
  Q_OBJECT
  Q_PROPERTY(QString stick READ stick CONSTANT)
  Q_PROPERTY(QString large READ large CONSTANT)
  Q_PROPERTY(QString empty READ empty CONSTANT)
  Q_PROPERTY(QString missing READ missing CONSTANT)

 public:
  explicit Workshop(const QStringList& folders) {
    QFile::link(QDir(folders.value(0)).absolutePath(), stick());
    QFile::link(QDir(folders.value(1)).absolutePath(), large());
    QDir().mkpath(empty());
  }

  [[nodiscard]] QString databases() const { return folder.filePath("databases"); }
  [[nodiscard]] QString stick() const { return folder.filePath("stick"); }
  [[nodiscard]] QString large() const { return folder.filePath("large"); }
  [[nodiscard]] QString empty() const { return folder.filePath("empty"); }
  [[nodiscard]] QString missing() const { return folder.filePath("missing"); }
  Q_INVOKABLE void pullOut() const { QFile::remove(stick()); }

 private:
  QTemporaryDir folder;
};

}  // namespace orvel::screen
