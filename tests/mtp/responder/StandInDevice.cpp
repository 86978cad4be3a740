#include "tests/mtp/responder/StandInDevice.h"

#include <libusb-1.0/libusb.h>

#include <algorithm>

namespace orvel::test {
namespace {

using std::chrono::milliseconds;

constexpr std::size_t kPacketSize = 512;
/// A device that says nothing is given up after this at the latest, so that tests need not wait for
/// the time-outs of real devices.
constexpr unsigned kLongestSilence = 50;   // milliseconds
constexpr unsigned kLongestHold = 20'000;  // milliseconds

milliseconds limited(unsigned timeout, unsigned longest) {
  return milliseconds(timeout == 0 ? longest : std::min(timeout, longest));  // 0: without end
}

}  // namespace

StandInDevice::StandInDevice(Media media, const DeviceIdentity& identity, UsbIds ids, int address)
    : responder(std::move(media), identity),
      ids(ids),
      serial(identity.serial),
      currentAddress(address) {}

void StandInDevice::unplug() {
  const std::lock_guard lock(mutex);
  detach();
}

void StandInDevice::detach() {
  attached = false;
  claimed = false;
  unplugAt.reset();
  holdFrom.reset();
  outgoing.clear();
  responder.reset();
  changed.notify_all();
}

void StandInDevice::attach(int newAddress) {
  const std::lock_guard lock(mutex);
  attached = true;
  currentAddress = newAddress;
}

void StandInDevice::unplugAtTransfer(std::size_t n) {
  const std::lock_guard lock(mutex);
  unplugAt = transferCount + n;
}

void StandInDevice::refuseOpen(int error) {
  const std::lock_guard lock(mutex);
  openError = error;
}

void StandInDevice::refuseClaim(int error) {
  const std::lock_guard lock(mutex);
  claimError = error;
}

void StandInDevice::holdTransfers(std::size_t n) {
  const std::lock_guard lock(mutex);
  holdFrom = transferCount + n;
}

void StandInDevice::releaseTransfers() {
  const std::lock_guard lock(mutex);
  holdFrom.reset();
  changed.notify_all();
}

bool StandInDevice::awaitHeldTransfer(milliseconds limit) {
  std::unique_lock lock(mutex);
  return changed.wait_for(lock, limit, [this] { return heldTransfers > 0; });
}

bool StandInDevice::isAttached() const {
  const std::lock_guard lock(mutex);
  return attached;
}

bool StandInDevice::isAttachedAt(int connectionAddress) const {
  const std::lock_guard lock(mutex);
  return !gone(connectionAddress);
}

int StandInDevice::address() const {
  const std::lock_guard lock(mutex);
  return currentAddress;
}

std::size_t StandInDevice::transfers() const {
  const std::lock_guard lock(mutex);
  return transferCount;
}

int StandInDevice::openConnections() const {
  const std::lock_guard lock(mutex);
  return connections;
}

int StandInDevice::connectionsOpened() const {
  const std::lock_guard lock(mutex);
  return openings;
}

int StandInDevice::open(int connectionAddress) {
  const std::lock_guard lock(mutex);
  if (gone(connectionAddress)) return LIBUSB_ERROR_NO_DEVICE;
  if (openError != 0) return openError;
  ++connections;
  ++openings;
  return LIBUSB_SUCCESS;
}

void StandInDevice::close(int connectionAddress, bool hasClaimed) {
  const std::lock_guard lock(mutex);
  --connections;
  if (hasClaimed && !gone(connectionAddress)) claimed = false;
}

int StandInDevice::claim(int connectionAddress) {
  const std::lock_guard lock(mutex);
  if (gone(connectionAddress)) return LIBUSB_ERROR_NO_DEVICE;
  if (claimError != 0) return claimError;
  if (claimed) return LIBUSB_ERROR_BUSY;
  claimed = true;
  return LIBUSB_SUCCESS;
}

int StandInDevice::release(int connectionAddress) {
  const std::lock_guard lock(mutex);
  if (gone(connectionAddress)) return LIBUSB_ERROR_NO_DEVICE;
  claimed = false;
  return LIBUSB_SUCCESS;
}

int StandInDevice::reset(int connectionAddress) {
  const std::lock_guard lock(mutex);
  if (gone(connectionAddress)) return LIBUSB_ERROR_NO_DEVICE;
  outgoing.clear();
  responder.reset();
  return LIBUSB_SUCCESS;
}

int StandInDevice::beginTransfer(std::unique_lock<std::mutex>& lock, int connectionAddress,
                                 unsigned timeout) {
  if (gone(connectionAddress)) return LIBUSB_ERROR_NO_DEVICE;
  ++transferCount;
  if (unplugAt && transferCount >= *unplugAt) {
    detach();
    return LIBUSB_ERROR_NO_DEVICE;
  }
  if (!holdFrom || transferCount < *holdFrom) return LIBUSB_SUCCESS;
  ++heldTransfers;
  changed.notify_all();
  const bool released = changed.wait_for(lock, limited(timeout, kLongestHold),
                                         [&] { return !holdFrom || gone(connectionAddress); });
  --heldTransfers;
  if (gone(connectionAddress)) return LIBUSB_ERROR_NO_DEVICE;
  return released ? LIBUSB_SUCCESS : LIBUSB_ERROR_TIMEOUT;
}

int StandInDevice::send(int connectionAddress, std::string_view bytes, unsigned timeout) {
  std::unique_lock lock(mutex);
  if (const int error = beginTransfer(lock, connectionAddress, timeout); error != 0) return error;
  for (std::string& container : responder.answer(bytes)) {
    const bool full = container.size() % kPacketSize == 0;
    outgoing.push_back({.bytes = std::move(container), .emptyPacketFollows = full});
  }
  return LIBUSB_SUCCESS;
}

int StandInDevice::receive(int connectionAddress, unsigned char* into, int size, int& received,
                           unsigned timeout) {
  std::unique_lock lock(mutex);
  received = 0;
  if (const int error = beginTransfer(lock, connectionAddress, timeout); error != 0) return error;
  if (outgoing.empty()) return silence(lock, connectionAddress, timeout);
  Outgoing& front = outgoing.front();
  const std::size_t count = std::min<std::size_t>(size, front.bytes.size() - front.sent);
  std::copy_n(front.bytes.begin() + static_cast<std::ptrdiff_t>(front.sent), count, into);
  front.sent += count;
  received = static_cast<int>(count);
  // An empty packet ends this transfer only if there was room for more; else it ends the next one.
  const bool roomLeft = count < static_cast<std::size_t>(size) || count == 0;
  if (front.sent == front.bytes.size() && (roomLeft || !front.emptyPacketFollows))
    outgoing.pop_front();
  return LIBUSB_SUCCESS;
}

int StandInDevice::silence(std::unique_lock<std::mutex>& lock, int connectionAddress,
                           unsigned timeout) {
  changed.wait_for(lock, limited(timeout, kLongestSilence),
                   [&] { return gone(connectionAddress); });
  return gone(connectionAddress) ? LIBUSB_ERROR_NO_DEVICE : LIBUSB_ERROR_TIMEOUT;
}

int StandInDevice::awaitNothing(int connectionAddress, unsigned timeout) {
  std::unique_lock lock(mutex);
  if (gone(connectionAddress)) return LIBUSB_ERROR_NO_DEVICE;
  return silence(lock, connectionAddress, timeout);
}

}  // namespace orvel::test
