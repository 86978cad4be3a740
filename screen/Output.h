#pragma once

#include <QObject>
#include <QString>
#include <iostream>

namespace orvel::screen {

/// Prints songs for a player to read.
class Output : public QObject {
  Q_OBJECT

 public Q_SLOTS:
  void print(const QString& path) { std::cout << path.toStdString() << std::endl; }
};

}  // namespace orvel::screen
