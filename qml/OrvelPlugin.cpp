#include <QQmlEngine>
#include <QQmlEngineExtensionPlugin>

#include "qml/CoverProvider.h"

/// Made by Qt's build tools: registers the module's types.
extern void qml_register_types_Orvel();

/// What QML loads for `import Orvel`.
class OrvelPlugin : public QQmlEngineExtensionPlugin {
  Q_OBJECT
  Q_PLUGIN_METADATA(IID QQmlEngineExtensionInterface_iid)

 public:
  explicit OrvelPlugin(QObject* parent = nullptr) : QQmlEngineExtensionPlugin(parent) {
    // Keeps the function in the library.
    [[maybe_unused]] volatile auto registration = &qml_register_types_Orvel;
  }

  void initializeEngine(QQmlEngine* engine, const char* /*uri*/) override {
    engine->addImageProvider(QStringLiteral("orvel"), new orvel::qml::CoverProvider);
  }
};

#include "OrvelPlugin.moc"
