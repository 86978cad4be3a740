#include "qml/OrvelPlugin.h"

#include <QQmlEngine>

#include "qml/CoverProvider.h"

/// Made by Qt's build tools: registers the module's types.
extern void qml_register_types_Orvel();

OrvelPlugin::OrvelPlugin(QObject* parent) : QQmlEngineExtensionPlugin(parent) {
  // Keeps the function in the library.
  [[maybe_unused]] volatile auto registration = &qml_register_types_Orvel;
}

void OrvelPlugin::initializeEngine(QQmlEngine* engine, const char* /*uri*/) {
  engine->addImageProvider(QStringLiteral("orvel"), new orvel::qml::CoverProvider);
}
