#pragma once

#include <QQuickAsyncImageProvider>
#include <QString>
#include <string_view>

namespace orvel::qml {

/// The name of a song's cover for an Image. The device is asked only when an Image wants it.
QString coverSource(std::string_view mountPoint, std::string_view path);

/// Hands the covers of songs to Images. They are fetched by Orvel and decoded on threads of their
/// own, at the size that the Image asks for. A song without a cover gives an empty image.
class CoverProvider : public QQuickAsyncImageProvider {
 public:
  QQuickImageResponse* requestImageResponse(const QString& id, const QSize& wanted) override;
};

}  // namespace orvel::qml
