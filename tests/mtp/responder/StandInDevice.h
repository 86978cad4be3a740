#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <deque>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>

#include "tests/mtp/responder/Responder.h"

namespace orvel::test {

/// A device on a USB bus without hardware: a responder and the pipes to it. Programs linked with
/// orvel_libusb_stand_in find these devices, and nothing else, through libusb's own entry points;
/// so does libmtp within them. One bus per process; any thread.
class StandInDevice : public std::enable_shared_from_this<StandInDevice> {
 public:
  /// Attaches a new device.
  static std::shared_ptr<StandInDevice> plugIn(const Media& media,
                                               const DeviceIdentity& identity = {});
  /// Unplugs all devices for good.
  static void unplugAll();

  StandInDevice(const Media& media, const DeviceIdentity& own)
      : responder(media, own), identity(own) {}

  /// The device itself.
  Responder responder;
  const DeviceIdentity identity;

  /// From now on every call about the device says that it is gone, one in flight included.
  void unplug();
  /// Unplugs it, if it is still there, and attaches it at a new address.
  void plugInAgain();
  /// Unplugs at the n-th transfer from now; 1 is the next.
  void unplugAtTransfer(std::size_t n);
  /// From now on transfers do not end before `releaseTransfers`, `unplug` or their own time-out.
  void holdTransfers();
  void releaseTransfers();
  /// Waits until a transfer is held; false after ten seconds.
  [[nodiscard]] bool awaitHeldTransfer();

  std::atomic<int> openError{0};   ///< libusb's error when it is opened
  std::atomic<int> claimError{0};  ///< libusb's error when its interface is claimed
  std::atomic<std::size_t> transfers{0};
  std::atomic<int> openConnections{0};
  std::atomic<int> connectionsOpened{0};

  // The work of libusb's entry points; results are libusb's. `address` is that of the
  // attachment to which a connection belongs.
  [[nodiscard]] bool isAt(int address) const { return currentAddress == address; }
  int claim(const void* connection);
  int release(const void* connection);
  void reset();
  int send(int address, std::string_view bytes, unsigned timeout);
  int receive(int address, unsigned char* into, int size, int& received, unsigned timeout);

 private:
  /// A container on its way to the initiator.
  struct Outgoing {
    std::string bytes;
    std::size_t sent = 0;
  };

  int beginTransfer(std::unique_lock<std::mutex>& lock, int address, unsigned timeout);
  /// Waits for an answer that does not come.
  int awaitNothing(std::unique_lock<std::mutex>& lock, int address, unsigned timeout);
  void detach();

  std::mutex mutex;
  std::condition_variable changed;
  std::atomic<int> currentAddress{0};  ///< 0 while it is unplugged
  const void* claimedBy = nullptr;
  std::size_t unplugAt = 0;  ///< 0: never
  bool holding = false;
  bool isHeld = false;
  std::deque<Outgoing> outgoing;
};

}  // namespace orvel::test
