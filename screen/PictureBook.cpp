#include "screen/PictureBook.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFont>
#include <QGlyphRun>
#include <QImage>
#include <QJsonDocument>
#include <QJsonObject>
#include <QQuickItem>
#include <QQuickWindow>
#include <QTextLayout>
#include <algorithm>
#include <iostream>

namespace orvel::screen {

namespace {

bool hasTofu(const QString& text, const QFont& font) {
  QTextLayout layout(text, font);
  layout.beginLayout();
  layout.createLine();
  layout.endLayout();
  const auto runs = layout.glyphRuns();
  return std::any_of(runs.begin(), runs.end(),
                     [](const QGlyphRun& run) { return run.glyphIndexes().contains(0); });
}

bool isSeen(const QQuickItem& item) {
  const QRectF place = item.mapRectToScene(item.boundingRect());
  const QRectF window(QPointF(), QSizeF(item.window()->size()));
  return !place.isEmpty() && window.contains(place);
}

/// Lists the texts of an item and of the items in it.
void listTexts(const QQuickItem& item, QJsonArray& texts) {
  if (!item.isVisible() || item.opacity() == 0) return;
  const QString text = item.property("text").toString();
  if (item.inherits("QQuickText") && !text.isEmpty() && isSeen(item)) {
    texts.append(QJsonObject{{"text", text},
                             {"cut", item.property("truncated").toBool()},
                             {"tofu", hasTofu(text, item.property("font").value<QFont>())}});
  }
  for (const QQuickItem* const child : item.childItems()) listTexts(*child, texts);
}

}  // namespace

PictureBook::PictureBook(const QString& folder) : path(QDir(folder).absolutePath()) {
  QDir().mkpath(path);
}

bool PictureBook::take(QQuickWindow* window, const QString& name) {
  QJsonArray texts;
  listTexts(*window->contentItem(), texts);
  pictures.append(QJsonObject{{"name", name}, {"texts", texts}});
  const QString file = path + QLatin1Char('/') + name + QLatin1String(".png");
  const bool isSaved = window->grabWindow().save(file);
  if (!isSaved) {
    std::cerr << "orvel-screen: cannot write " << file.toStdString()
              << ". Check the folder and its free space.\n";
  }
  isComplete &= isSaved;
  return isSaved;
}

void PictureBook::fail() {
  isComplete = false;
  close();
}

void PictureBook::close() {
  QFile list(path + QLatin1String("/pictures.json"));
  const QByteArray text = QJsonDocument(pictures).toJson();
  const bool isWritten = list.open(QIODevice::WriteOnly) && list.write(text) == text.size();
  QCoreApplication::exit(isComplete && isWritten ? 0 : 1);
}

}  // namespace orvel::screen
