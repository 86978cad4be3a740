#include <QQmlContext>
#include <QQmlEngine>
#include <QtQuickTest>
#include <filesystem>

#include "tests/support/TemporaryFolder.h"
#include "tools/stick/SampleStick.h"

namespace orvel::test {
namespace {

/// A sample stick, a folder for databases, and changes of files.
class World : public QObject {
  Q_OBJECT
  Q_PROPERTY(QString stick READ stick CONSTANT)
  Q_PROPERTY(QString databases READ databases CONSTANT)

 public:
  World() { stick::makeSampleStick(temporary.path("stick")); }

  [[nodiscard]] QString stick() const { return path("stick"); }
  [[nodiscard]] QString databases() const { return path("databases"); }

  Q_INVOKABLE void rename(const QString& from, const QString& to) const {
    std::filesystem::rename(path(from).toStdString(), path(to).toStdString());
  }
  Q_INVOKABLE void copy(const QString& from, const QString& to) const {
    std::filesystem::copy_file(path(from).toStdString(), path(to).toStdString(),
                               std::filesystem::copy_options::overwrite_existing);
  }

 private:
  [[nodiscard]] QString path(const QString& relative) const {
    return QString::fromStdString(temporary.path(relative.toStdString()));
  }

  TemporaryFolder temporary;
};

}  // namespace

class Setup : public QObject {
  Q_OBJECT

 public Q_SLOTS:
  void qmlEngineAvailable(QQmlEngine* engine) {
    engine->rootContext()->setContextProperty(QStringLiteral("world"), &world);
  }

 private:
  World world;
};

}  // namespace orvel::test

using orvel::test::Setup;
QUICK_TEST_MAIN_WITH_SETUP(models, Setup)

#include "main.moc"
