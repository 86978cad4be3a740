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

void StandInDevice::unplug() {
  const std::lock_guard lock(mutex);
  detach();
}

void StandInDevice::detach() {
  currentAddress = 0;
  claimedBy = nullptr;
  unplugAt = 0;
  holding = false;
  outgoing.clear();
  responder.reset();
  changed.notify_all();
}

void StandInDevice::unplugAtTransfer(std::size_t n) {
  const std::lock_guard lock(mutex);
  unplugAt = transfers + n;
}

void StandInDevice::holdTransfers() {
  const std::lock_guard lock(mutex);
  holding = true;
}

void StandInDevice::releaseTransfers() {
  const std::lock_guard lock(mutex);
  holding = false;
  changed.notify_all();
}

bool StandInDevice::awaitHeldTransfer() {
  std::unique_lock lock(mutex);
  return changed.wait_for(lock, std::chrono::seconds(10), [this] { return isHeld; });
}

int StandInDevice::claim(const void* connection) {
  const std::lock_guard lock(mutex);
  if (claimError != 0) return claimError;
  if (claimedBy != nullptr && claimedBy != connection) return LIBUSB_ERROR_BUSY;
  claimedBy = connection;
  return LIBUSB_SUCCESS;
}

int StandInDevice::release(const void* connection) {
  const std::lock_guard lock(mutex);
  if (claimedBy != connection) return LIBUSB_ERROR_NOT_FOUND;
  claimedBy = nullptr;
  return LIBUSB_SUCCESS;
}

void StandInDevice::reset() {
  const std::lock_guard lock(mutex);
  outgoing.clear();
  responder.reset();
}

int StandInDevice::beginTransfer(std::unique_lock<std::mutex>& lock, int address,
                                 unsigned timeout) {
  if (!isAt(address)) return LIBUSB_ERROR_NO_DEVICE;
  if (++transfers == unplugAt) {
    detach();
    return LIBUSB_ERROR_NO_DEVICE;
  }
  if (!holding) return LIBUSB_SUCCESS;
  isHeld = true;
  changed.notify_all();
  const bool released = changed.wait_for(lock, limited(timeout, kLongestHold),
                                         [&] { return !holding || !isAt(address); });
  isHeld = false;
  if (!isAt(address)) return LIBUSB_ERROR_NO_DEVICE;
  return released ? LIBUSB_SUCCESS : LIBUSB_ERROR_TIMEOUT;
}

int StandInDevice::send(int address, std::string_view bytes, unsigned timeout) {
  std::unique_lock lock(mutex);
  if (const int error = beginTransfer(lock, address, timeout); error != 0) return error;
  for (std::string& container : responder.answer(bytes)) outgoing.push_back({std::move(container)});
  return LIBUSB_SUCCESS;
}

int StandInDevice::receive(int address, unsigned char* into, int size, int& received,
                           unsigned timeout) {
  std::unique_lock lock(mutex);
  if (const int error = beginTransfer(lock, address, timeout); error != 0) return error;
  if (outgoing.empty()) return awaitNothing(lock, address, timeout);
  Outgoing& front = outgoing.front();
  const std::size_t count = std::min<std::size_t>(size, front.bytes.size() - front.sent);
  std::copy_n(front.bytes.begin() + static_cast<std::ptrdiff_t>(front.sent), count, into);
  front.sent += count;
  received = static_cast<int>(count);
  // An empty packet follows a container that fills whole packets. It ends this transfer only if
  // there was room for more; else it ends the next one.
  const bool isFull = count == static_cast<std::size_t>(size) && count > 0;
  const bool emptyPacketFollows = isFull && front.bytes.size() % kPacketSize == 0;
  if (front.sent == front.bytes.size() && !emptyPacketFollows) outgoing.pop_front();
  return LIBUSB_SUCCESS;
}

int StandInDevice::awaitNothing(std::unique_lock<std::mutex>& lock, int address, unsigned timeout) {
  changed.wait_for(lock, limited(timeout, kLongestSilence), [&] { return !isAt(address); });
  return isAt(address) ? LIBUSB_ERROR_TIMEOUT : LIBUSB_ERROR_NO_DEVICE;
}

}  // namespace orvel::test
