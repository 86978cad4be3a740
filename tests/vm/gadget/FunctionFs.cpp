#include "tests/vm/gadget/FunctionFs.h"

#include <fcntl.h>
#include <linux/usb/ch9.h>
#include <linux/usb/functionfs.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>

#include "tests/mtp/responder/Dataset.h"

namespace orvel::test {
namespace {

constexpr std::uint16_t kFullSpeedPacket = 64;
constexpr std::uint16_t kHighSpeedPacket = 512;
constexpr std::uint16_t kEventPacket = 28;

/// The interface and its endpoints, whose order numbers the endpoints' files.
std::string interfaceDescriptors(std::uint16_t packetSize) {
  Dataset data;
  data.u8(USB_DT_INTERFACE_SIZE).u8(USB_DT_INTERFACE).u8(0).u8(0);
  data.u8(3).u8(USB_CLASS_STILL_IMAGE).u8(1).u8(1).u8(1);  // endpoints, class, name
  const auto endpoint = [&](std::uint8_t address, std::uint8_t type, std::uint16_t packet) {
    data.u8(USB_DT_ENDPOINT_SIZE).u8(USB_DT_ENDPOINT).u8(address).u8(type).u16(packet);
    data.u8(type == USB_ENDPOINT_XFER_INT ? 6 : 0);  // how often it is polled
  };
  endpoint(USB_DIR_IN | 1, USB_ENDPOINT_XFER_BULK, packetSize);
  endpoint(USB_DIR_OUT | 2, USB_ENDPOINT_XFER_BULK, packetSize);
  endpoint(USB_DIR_IN | 3, USB_ENDPOINT_XFER_INT, kEventPacket);
  return data.bytes();
}

std::string descriptors() {
  constexpr std::uint32_t kHeadSize = 20;
  constexpr std::uint32_t kDescriptorCount = 4;
  const std::string both =
      interfaceDescriptors(kFullSpeedPacket) + interfaceDescriptors(kHighSpeedPacket);
  return Dataset()
             .u32(FUNCTIONFS_DESCRIPTORS_MAGIC_V2)
             .u32(static_cast<std::uint32_t>(kHeadSize + both.size()))
             .u32(FUNCTIONFS_HAS_FS_DESC | FUNCTIONFS_HAS_HS_DESC)
             .u32(kDescriptorCount)
             .u32(kDescriptorCount)
             .bytes() +
         both;
}

std::string strings() {
  constexpr std::uint16_t kEnglish = 0x0409;
  const std::string name = std::string("MTP") + '\0';
  return Dataset().u32(FUNCTIONFS_STRINGS_MAGIC).u32(22).u32(1).u32(1).u16(kEnglish).bytes() + name;
}

/// Opens the control file and makes the kernel show the others.
std::string described(const MessageFile& control, const std::string& mountPoint) {
  control.write(descriptors());
  control.write(strings());
  return mountPoint;
}

[[noreturn]] void fail(const std::string& path) {
  throw std::system_error(errno, std::generic_category(), path);
}

}  // namespace

MessageFile::MessageFile(const std::string& path)
    : path(path), descriptor(::open(path.c_str(), O_RDWR | O_CLOEXEC)) {
  if (descriptor < 0) fail(path);
}

MessageFile::~MessageFile() {
  ::close(descriptor);
}

std::string MessageFile::read(std::size_t longest) const {
  std::string message(longest, '\0');
  const ssize_t count = ::read(descriptor, message.data(), message.size());
  if (count < 0) fail(path);
  message.resize(count);
  return message;
}

void MessageFile::write(std::string_view message) const {
  if (::write(descriptor, message.data(), message.size()) < 0) fail(path);
}

void MessageFile::refuse(bool toHost) const {
  // Both fail with EL2HLT, which is what is wanted.
  char nothing = 0;
  const ssize_t ignored =
      toHost ? ::read(descriptor, &nothing, 0) : ::write(descriptor, &nothing, 0);
  static_cast<void>(ignored);
}

FunctionFs::FunctionFs(const std::string& mountPoint)
    : control(mountPoint + "/ep0"),
      toHost(described(control, mountPoint) + "/ep1"),
      fromHost(mountPoint + "/ep2") {}

}  // namespace orvel::test
