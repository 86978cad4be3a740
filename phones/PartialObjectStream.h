#pragma once

#include <memory>
#include <stop_token>
#include <string>

#include "phones/Device.h"
#include "tags/TagStream.h"

namespace orvel {

/// The tags of a track on a device, read in few and larger pieces, since each request costs
/// milliseconds and three operations. Used by one thread.
class PartialObjectStream : public TagStream {
 public:
  PartialObjectStream(std::shared_ptr<Device> readDevice, DeviceObject readTrack,
                      std::stop_token token);

  bool isOpen() const override { return true; }
  long readAt(long start, char* target, long length) override;

 private:
  /// Has the piece that holds `start` in `piece`; false on a failure.
  bool fetch(std::int64_t start, std::int64_t length);

  std::shared_ptr<Device> device;
  DeviceObject track;
  std::string piece;
  std::int64_t pieceStart = 0;
};

}  // namespace orvel
