#include "qml/CoverProvider.h"

#include <orvel/Cover.h>

#include <QBuffer>
#include <QFuture>
#include <QImageReader>
#include <QPromise>
#include <QQuickTextureFactory>
#include <QStringList>
#include <QThreadPool>
#include <memory>
#include <optional>
#include <system_error>

namespace orvel::qml {

namespace {

/// Paths have any bytes, hence not as they are.
QString encoded(std::string_view text) {
  const auto bytes = QByteArray::fromRawData(text.data(), static_cast<qsizetype>(text.size()));
  return QString::fromLatin1(
      bytes.toBase64(QByteArray::Base64UrlEncoding | QByteArray::OmitTrailingEquals));
}

std::string decoded(const QString& text) {
  return QByteArray::fromBase64(text.toLatin1(), QByteArray::Base64UrlEncoding).toStdString();
}

const char* formatOf(PictureType type) {
  switch (type) {
    case PictureType::Jpeg:
      return "jpeg";
    case PictureType::Png:
      return "png";
    case PictureType::WebP:
      return "webp";
    case PictureType::Gif:
      return "gif";
    case PictureType::Bmp:
      return "bmp";
  }
  return "";
}

/// Null when there is no cover, or none that can be decoded.
QImage imageFrom(const Cover::Result& result, const QSize& wanted) {
  if (result.outcome != Cover::Outcome::Found) return {};
  const auto& picture = result.picture;
  QByteArray bytes =
      QByteArray::fromRawData(picture.bytes.data(), static_cast<qsizetype>(picture.bytes.size()));
  QBuffer buffer(&bytes);
  QImageReader reader(&buffer, formatOf(picture.type));
  reader.setAutoDetectImageFormat(false);
  reader.setAutoTransform(true);
  const QSize size(static_cast<int>(picture.width), static_cast<int>(picture.height));
  const QSize scaled = size.scaled(wanted, Qt::KeepAspectRatioByExpanding);
  if (!wanted.isEmpty() && scaled.width() < size.width()) reader.setScaledSize(scaled);
  return reader.read();
}

/// A cover on its way. Lives on the thread on which QML loads images.
class CoverResponse : public QQuickImageResponse {
 public:
  CoverResponse(const Cover::Song& song, const QSize& wanted) {
    auto promise = std::make_shared<QPromise<std::shared_ptr<Cover::Result>>>();
    promise->start();
    // Decoding on Orvel's thread would keep the device waiting.
    promise->future()
        .then(QThreadPool::globalInstance(),
              [wanted](const std::shared_ptr<Cover::Result>& result) {
                return imageFrom(*result, wanted);
              })
        .then(this, [this](const QImage& decodedImage) { finish(decodedImage); });
    try {
      cover.emplace(song, [promise](Cover::Result result) {
        promise->addResult(std::make_shared<Cover::Result>(std::move(result)));
        promise->finish();
      });
    } catch (const std::system_error&) {
      cancel();
    }
  }

  [[nodiscard]] QQuickTextureFactory* textureFactory() const override {
    return QQuickTextureFactory::textureFactoryForImage(image);
  }

  void cancel() override {
    if (cover) cover->cancel();
    // Later, because the caller holds a lock that the receiver takes.
    QMetaObject::invokeMethod(
        this, [this] { finish({}); }, Qt::QueuedConnection);
  }

 private:
  void finish(const QImage& found) {
    if (isFinished) return;
    isFinished = true;
    image = found;
    Q_EMIT finished();
  }

  QImage image;
  bool isFinished = false;
  std::optional<Cover> cover;
};

}  // namespace

QString coverSource(std::string_view mountPoint, std::string_view path) {
  return QStringLiteral("image://orvel/") + encoded(mountPoint) + QLatin1Char('/') + encoded(path);
}

QQuickImageResponse* CoverProvider::requestImageResponse(const QString& id, const QSize& wanted) {
  const QStringList parts = id.split(QLatin1Char('/'));
  return new CoverResponse({decoded(parts.value(0)), decoded(parts.value(1))}, wanted);
}

}  // namespace orvel::qml
