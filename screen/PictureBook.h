#pragma once

#include <QJsonArray>
#include <QObject>
#include <QString>

class QQuickWindow;

namespace orvel::screen {

/// Pictures of a window, and what they show: `pictures.json` lists every visible text with "cut"
/// when it is shortened and "tofu" when a character has no glyph.
class PictureBook : public QObject {
  Q_OBJECT

 public:
  /// @param folder  where the pictures go; created with its parents
  explicit PictureBook(const QString& folder);

  /// Saves the window as `name`.png. Returns false, and says why, when that fails.
  Q_INVOKABLE bool take(QQuickWindow* window, const QString& name);
  /// Ends the program, with the status 0 when every picture was saved.
  Q_INVOKABLE void close();
  /// The same when a picture cannot be taken.
  Q_INVOKABLE void fail();

 private:
  QString path;
  QJsonArray pictures;
  bool isComplete = true;
};

}  // namespace orvel::screen
