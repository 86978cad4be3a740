#pragma once

#include <array>
#include <cstdint>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "tests/mtp/responder/Fault.h"
#include "tests/mtp/responder/Media.h"

namespace orvel::test {

/// The identity of a device.
struct DeviceIdentity {
  std::uint16_t vendor = 0x46F4;
  std::uint16_t product = 0x0004;  ///< libmtp knows these two and treats the device without quirks
  std::string serial = "R0001";
  std::u16string extensions = u"microsoft.com: 1.0;";
  bool readsParts = true;  ///< knows GetPartialObject
  std::vector<std::uint16_t> formats = {ptp::kUndefined, ptp::kAssociation, ptp::kMp3,
                                        ptp::kFlac,      ptp::kMp4,         ptp::kPlaylist};
};

/// An MTP device without a transport: takes containers and answers with containers. The
/// media decide the answers unless a fault applies. Any thread.
class Responder {
 public:
  Responder(Media media, DeviceIdentity identity);

  /// The containers that answer a command: data, if any, and a response. None when a fault keeps
  /// the device silent.
  std::vector<std::string> answer(std::string_view command);
  /// Ends the session, as a reset of the bus does.
  void reset();

  /// Changes the media, as somebody does who handles the device meanwhile.
  template <typename Change>
  void edit(Change change) {
    const std::lock_guard lock(mutex);
    change(media);
  }
  /// Shows no storage, as a phone does whose screen is locked.
  void setLocked(bool isLocked);
  /// Adds a fault; the first that fits a call counts.
  void add(const Fault& fault);
  void clearFaults();

  /// How often each operation was asked for since the counters were cleared.
  [[nodiscard]] std::map<std::uint16_t, std::size_t> calls() const;
  [[nodiscard]] std::size_t operations() const;
  /// Bytes of files that were sent since the counters were cleared.
  [[nodiscard]] std::size_t fileBytes() const;
  void clearCounters();

 private:
  struct Command {
    std::uint16_t code = 0;
    std::uint32_t transaction = 0;
    std::array<std::uint32_t, 3> parameters = {};

    /// The object, folder or storage that it is about.
    [[nodiscard]] std::uint32_t subject() const;
  };
  struct Answer {
    std::uint16_t code = ptp::kOk;
    std::optional<std::string> dataset = {};
  };

  Fault* faultOf(const Command& command);
  Answer execute(const Command& command);
  [[nodiscard]] Answer executeInSession(const Command& command);
  [[nodiscard]] std::string deviceInfo() const;
  [[nodiscard]] Answer storageInfo(std::uint32_t id) const;
  [[nodiscard]] Answer objectHandles(std::uint32_t storage, std::uint32_t parent) const;
  [[nodiscard]] Answer fileBytesOf(const MediaObject& file, std::uint32_t offset,
                                   std::size_t count);

  mutable std::mutex mutex;
  Media media;
  const DeviceIdentity identity;
  bool sessionOpen = false;
  bool locked = false;
  std::vector<Fault> faults;
  std::map<std::uint16_t, std::size_t> counters;
  std::size_t sentFileBytes = 0;
};

}  // namespace orvel::test
