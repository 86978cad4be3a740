#include "cli/SignalWatcher.h"

#include <sys/signalfd.h>
#include <unistd.h>

namespace orvel::cli {

SignalWatcher::SignalWatcher() {
  sigemptyset(&watched);
  sigaddset(&watched, SIGINT);
  sigaddset(&watched, SIGTERM);
  descriptor = signalfd(-1, &watched, SFD_CLOEXEC | SFD_NONBLOCK);
  if (descriptor < 0) return;
  pthread_sigmask(SIG_BLOCK, &watched, nullptr);
  notifier = std::make_unique<QSocketNotifier>(descriptor, QSocketNotifier::Read);
  QObject::connect(notifier.get(), &QSocketNotifier::activated, [this] { receive(); });
}

SignalWatcher::~SignalWatcher() {
  if (descriptor < 0) return;
  giveBack();
  notifier.reset();
  close(descriptor);
}

void SignalWatcher::receive() {
  signalfd_siginfo arrived{};
  if (read(descriptor, &arrived, sizeof arrived) != sizeof arrived) return;
  notifier->setEnabled(false);
  giveBack();
  number = static_cast<int>(arrived.ssi_signo);
  if (onSignal) onSignal();
}

void SignalWatcher::giveBack() {
  pthread_sigmask(SIG_UNBLOCK, &watched, nullptr);
}

}  // namespace orvel::cli
