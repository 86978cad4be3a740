#pragma once

#include <chrono>
#include <memory>
#include <stop_token>
#include <string>

#include "phones/Device.h"
#include "tags/TagStream.h"

namespace orvel {

/// Reads the bytes of a track on a device for its tags. Buffers them in large pieces, because each
/// request costs three operations and some milliseconds. Used by one thread.
class PartialObjectStream : public TagStream {
 public:
  PartialObjectStream(std::shared_ptr<Device> readDevice, DeviceObject readTrack,
                      std::stop_token token);

  bool isOpen() const override { return true; }
  long readAt(std::int64_t start, char* target, long length) override;

 private:
  /// Reads the piece that begins at `start` into `piece`; false on a failure.
  bool fetch(std::int64_t start, std::int64_t length);

  std::shared_ptr<Device> device;
  DeviceObject track;
  std::string piece;
  std::int64_t pieceStart = 0;
  std::chrono::steady_clock::duration waited{};  ///< for the device
};

}  // namespace orvel
