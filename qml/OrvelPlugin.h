#pragma once

#include <QQmlEngineExtensionPlugin>

/// What QML loads for `import Orvel`.
class OrvelPlugin : public QQmlEngineExtensionPlugin {
  Q_OBJECT
  Q_PLUGIN_METADATA(IID QQmlEngineExtensionInterface_iid)

 public:
  explicit OrvelPlugin(QObject* parent = nullptr);

  void initializeEngine(QQmlEngine* engine, const char* uri) override;
};
