#pragma once

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>

#include "tests/mtp/responder/Responder.h"

namespace orvel::test {

struct UsbIds {
  std::uint16_t vendor = 0x46F4;
  std::uint16_t product = 0x0004;  ///< libmtp knows these two and treats the device without quirks
};

/// A device on the stand-in's bus: a responder and the pipes to it. Created with
/// `libusbStandIn::plugIn`. Any thread.
class StandInDevice {
 public:
  StandInDevice(Media media, const DeviceIdentity& identity, UsbIds ids, int address);

  /// The device itself.
  Responder responder;
  const UsbIds ids;
  const std::string serial;

  /// From now on every call about the device says that it is gone, one in flight included.
  void unplug();
  /// Unplugs at the n-th transfer from now; 1 is the next.
  void unplugAtTransfer(std::size_t n);
  /// Opening fails with this libusb error; 0 allows it again.
  void refuseOpen(int error);
  /// Claiming the interface fails with this libusb error; 0 allows it again.
  void refuseClaim(int error);
  /// Transfers from the n-th from now on do not end before `releaseTransfers`, `unplug` or their
  /// own time-out.
  void holdTransfers(std::size_t n = 1);
  void releaseTransfers();
  /// Waits until a transfer is held.
  [[nodiscard]] bool awaitHeldTransfer(std::chrono::milliseconds limit = std::chrono::seconds(10));

  [[nodiscard]] bool isAttached() const;
  /// On the bus; another one after each attachment.
  [[nodiscard]] int address() const;
  /// Transfers since the beginning.
  [[nodiscard]] std::size_t transfers() const;
  /// How many connections are open now, and how often one was opened.
  [[nodiscard]] int openConnections() const;
  [[nodiscard]] int connectionsOpened() const;

  // What the entry points of libusb come down to; results are libusb's. A connection belongs to one
  // attachment, which it names by its address.
  void attach(int newAddress);
  [[nodiscard]] bool isAttachedAt(int connectionAddress) const;
  int open(int connectionAddress);
  void close(int connectionAddress, bool claimed);
  int claim(int connectionAddress);
  int release(int connectionAddress);
  int reset(int connectionAddress);
  int send(int connectionAddress, std::string_view bytes, unsigned timeout);
  int receive(int connectionAddress, unsigned char* into, int size, int& received,
              unsigned timeout);
  /// Nothing ever comes from an endpoint that only tells of events.
  int awaitNothing(int connectionAddress, unsigned timeout);

 private:
  /// What is left of a container on its way to the initiator.
  struct Outgoing {
    std::string bytes;
    std::size_t sent = 0;
    bool emptyPacketFollows = false;
  };

  [[nodiscard]] bool gone(int connectionAddress) const {
    return !attached || connectionAddress != currentAddress;
  }
  int beginTransfer(std::unique_lock<std::mutex>& lock, int connectionAddress, unsigned timeout);
  int silence(std::unique_lock<std::mutex>& lock, int connectionAddress, unsigned timeout);
  void detach();

  mutable std::mutex mutex;
  std::condition_variable changed;
  bool attached = true;
  int currentAddress;
  bool claimed = false;
  int connections = 0;
  int openings = 0;
  int openError = 0;
  int claimError = 0;
  std::size_t transferCount = 0;
  std::optional<std::size_t> unplugAt;
  std::optional<std::size_t> holdFrom;
  int heldTransfers = 0;
  std::deque<Outgoing> outgoing;
};

}  // namespace orvel::test
