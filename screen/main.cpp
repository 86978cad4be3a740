#include <QCommandLineParser>
#include <QGuiApplication>
#include <QQmlApplicationEngine>
#include <QQuickStyle>
#include <QStandardPaths>
#include <algorithm>
#include <iostream>
#include <string_view>
#include <vector>

#include "screen/Output.h"
#include "screen/PictureBook.h"
#include "screen/Workshop.h"

namespace orvel::screen {
namespace {

struct Options {
  QStringList folders;
  QString databases;
  QString pictures;
  bool isNight = false;
  bool onSessionBus = false;
  bool withKeyboard = false;
  bool isScrolling = false;
};

Options optionsFrom(const QGuiApplication& application) {
  QCommandLineParser parser;
  parser.setApplicationDescription(
      "Shows the music of sticks, phones and folders. Indexes the folders itself; without any it "
      "shows the devices of the service orveld. Prints the path of each song that is tapped.");
  parser.addHelpOption();
  parser.addVersionOption();
  parser.addPositionalArgument("FOLDER", "Folders to index.", "[FOLDER...]");
  const QCommandLineOption databases("db-dir", "Folder of the databases that it makes.", "DIR");
  const QCommandLineOption night("night", "Begins with night colours.");
  const QCommandLineOption session("session", "Takes the service of the session bus.");
  const QCommandLineOption keyboard("keyboard", "Shows Qt's keyboard while a text is typed.");
  const QCommandLineOption pictures(
      "pictures",
      "Takes pictures of a tour into DIR and ends: FOLDERs are a stick and a large one.", "DIR");
  const QCommandLineOption scroll("scroll", "Scrolls through all songs and ends.");
  parser.addOptions({databases, night, session, keyboard, pictures, scroll});
  parser.process(application);
  const QString usual = QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation);
  return {parser.positionalArguments(),
          parser.isSet(databases) ? parser.value(databases) : usual + "/orvel",
          parser.value(pictures),
          parser.isSet(night),
          parser.isSet(session),
          parser.isSet(keyboard),
          parser.isSet(scroll)};
}

/// Loads one of the screens. False, with a message of the engine's, when that fails.
bool load(QQmlApplicationEngine& engine, const char* screen, const QVariantMap& properties) {
  engine.setInitialProperties(properties);
  engine.load(QStringLiteral("qrc:/OrvelScreen/") + QLatin1String(screen));
  return !engine.rootObjects().isEmpty();
}

/// Whatever must be chosen before the application is there. Pictures need no display and are the
/// same on every machine.
void prepare(const std::vector<std::string_view>& arguments) {
  const auto has = [&](std::string_view option) {
    return std::any_of(arguments.begin(), arguments.end(),
                       [&](std::string_view text) { return text.starts_with(option); });
  };
  if (has("--keyboard")) qputenv("QT_IM_MODULE", "qtvirtualkeyboard");
  if (!has("--pictures")) return;
  qputenv("QT_QPA_PLATFORM", "offscreen");
  qputenv("QT_QUICK_BACKEND", "software");
}

int runTour(QQmlApplicationEngine& engine, const Options& options) {
  if (options.folders.size() != 2) {
    std::cerr << "orvel-screen: --pictures needs two folders, a stick and a large one.\n";
    return 2;
  }
  Workshop workshop(options.folders);
  PictureBook book(options.pictures);
  const bool isLoaded = load(engine, "Tour.qml",
                             {{"databaseDirectory", workshop.databases()},
                              {"withKeyboard", options.withKeyboard},
                              {"book", QVariant::fromValue(&book)},
                              {"workshop", QVariant::fromValue(&workshop)}});
  const int status = isLoaded ? QCoreApplication::exec() : 1;
  // Before the objects that it uses.
  qDeleteAll(engine.rootObjects());
  return status;
}

int runScreen(QQmlApplicationEngine& engine, const Options& options) {
  QVariantMap properties = {{"night", options.isNight}, {"withKeyboard", options.withKeyboard}};
  const bool isLocal = !options.folders.isEmpty();
  if (isLocal) {
    properties.insert({{"databaseDirectory", options.databases}, {"folders", options.folders}});
  } else {
    properties.insert("session", options.onSessionBus);
  }
  const char* const screen = options.isScrolling ? "Scroll.qml"
                             : isLocal           ? "LocalScreen.qml"
                                                 : "ServiceScreen.qml";
  if (!load(engine, screen, properties)) return 1;
  Output output;
  QObject::connect(engine.rootObjects().constFirst(), SIGNAL(songChosen(QString)), &output,
                   SLOT(print(QString)));
  return QCoreApplication::exec();
}

}  // namespace
}  // namespace orvel::screen

int main(int count, char** arguments) {
  using namespace orvel::screen;
  prepare({arguments, arguments + count});
  QGuiApplication application(count, arguments);
  QCoreApplication::setApplicationName(QStringLiteral("orvel-screen"));
  QCoreApplication::setApplicationVersion(QStringLiteral(ORVEL_VERSION));
  QQuickStyle::setStyle(QStringLiteral("Material"));
  const Options options = optionsFrom(application);
  QQmlApplicationEngine engine;
  // In a build the module lies beside the program.
  engine.addImportPath(QCoreApplication::applicationDirPath() + "/qml");
  return options.pictures.isEmpty() ? runScreen(engine, options) : runTour(engine, options);
}
