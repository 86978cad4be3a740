#include <libusb-1.0/libusb.h>
#ifdef ORVEL_LEAKS_ARE_SOUGHT
#include <sanitizer/lsan_interface.h>
#endif

#include <algorithm>
#include <array>
#include <list>
#include <vector>

#include "tests/mtp/responder/StandInDevice.h"

using orvel::test::StandInDevice;

/// One attachment of a device.
struct libusb_device {
  std::shared_ptr<StandInDevice> device;
  int address = 0;

  [[nodiscard]] bool isPresent() const { return device->isAt(address); }
};

struct libusb_device_handle {
  libusb_device* attachment = nullptr;

  [[nodiscard]] StandInDevice& device() const { return *attachment->device; }
  [[nodiscard]] bool isPresent() const { return attachment->isPresent(); }
};

struct libusb_context {};

namespace orvel::test {
namespace {

struct Bus {
  std::mutex mutex;
  /// Never emptied: libmtp uses an attachment after the list that it came from was freed.
  std::list<libusb_device> attachments;
  /// The open ones, and those that libmtp forgets when it cannot use a device.
  std::list<libusb_device_handle> connections;

  int attach(const std::shared_ptr<StandInDevice>& device) {
    const std::lock_guard lock(mutex);
    constexpr int kAddresses = 126;
    const int address = static_cast<int>(attachments.size()) % kAddresses + 1;
    attachments.push_back({device, address});
    return address;
  }
};

/// Outlives all threads that may still be in a call at the end of the program.
Bus& bus() {
  static Bus& instance = *new Bus;
  return instance;
}

}  // namespace

std::shared_ptr<StandInDevice> StandInDevice::plugIn(const Media& media,
                                                     const DeviceIdentity& identity) {
  auto device = std::make_shared<StandInDevice>(media, identity);
  device->currentAddress = bus().attach(device);
  return device;
}

void StandInDevice::plugInAgain() {
  unplug();
  currentAddress = bus().attach(shared_from_this());
}

void StandInDevice::unplugAll() {
  const std::lock_guard lock(bus().mutex);
  for (const libusb_device& attachment : bus().attachments) attachment.device->unplug();
}

namespace {

constexpr std::uint8_t kInterfaceText = 4;
constexpr std::uint8_t kEndpointIn = 0x81, kEndpointOut = 0x02, kEndpointEvents = 0x83;

/// The configuration of all devices with its descriptors.
struct Configuration {
  std::array<libusb_endpoint_descriptor, 3> endpoints{};
  libusb_interface_descriptor setting{};
  libusb_interface interface {};
  libusb_config_descriptor head{};

  Configuration() {
    describe(endpoints[0], kEndpointIn, LIBUSB_TRANSFER_TYPE_BULK, 512);
    describe(endpoints[1], kEndpointOut, LIBUSB_TRANSFER_TYPE_BULK, 512);
    describe(endpoints[2], kEndpointEvents, LIBUSB_TRANSFER_TYPE_INTERRUPT, 28);
    setting.bNumEndpoints = endpoints.size();
    setting.bInterfaceClass = LIBUSB_CLASS_PTP;
    setting.bInterfaceSubClass = 1;
    setting.bInterfaceProtocol = 1;
    setting.iInterface = kInterfaceText;
    setting.endpoint = endpoints.data();
    interface.altsetting = &setting;
    interface.num_altsetting = 1;
    head.bNumInterfaces = 1;
    head.bConfigurationValue = 1;
    head.interface = &interface;
  }

  static void describe(libusb_endpoint_descriptor& endpoint, std::uint8_t address,
                       std::uint8_t type, std::uint16_t packetSize) {
    endpoint.bEndpointAddress = address;
    endpoint.bmAttributes = type;
    endpoint.wMaxPacketSize = packetSize;
  }
};

/// libmtp forgets the buffer of a read that fails: nothing that its callers could free.
void forgive([[maybe_unused]] const void* leaked) {
#ifdef ORVEL_LEAKS_ARE_SOUGHT
  __lsan_ignore_object(leaked);
#endif
}

}  // namespace
}  // namespace orvel::test

using namespace orvel::test;  // NOLINT(google-build-using-namespace)

// The functions of libusb that libmtp and UsbBus call.
extern "C" {

int LIBUSB_CALL libusb_init(libusb_context** context) {
  static libusb_context only;
  if (context != nullptr) *context = &only;
  return LIBUSB_SUCCESS;
}

void LIBUSB_CALL libusb_exit(libusb_context*) {}

ssize_t LIBUSB_CALL libusb_get_device_list(libusb_context*, libusb_device*** list) {
  const std::lock_guard lock(bus().mutex);
  auto attached = std::make_unique<libusb_device*[]>(bus().attachments.size() + 1);
  ssize_t count = 0;
  for (libusb_device& attachment : bus().attachments) {
    if (attachment.isPresent()) attached[count++] = &attachment;
  }
  *list = attached.release();
  return count;
}

void LIBUSB_CALL libusb_free_device_list(libusb_device** list, int) {
  const std::unique_ptr<libusb_device*[]> owned(list);
}

int LIBUSB_CALL libusb_get_device_descriptor(libusb_device* device,
                                             libusb_device_descriptor* descriptor) {
  *descriptor = {};
  descriptor->idVendor = device->device->identity.vendor;
  descriptor->idProduct = device->device->identity.product;
  descriptor->bNumConfigurations = 1;
  return LIBUSB_SUCCESS;
}

uint8_t LIBUSB_CALL libusb_get_bus_number(libusb_device*) {
  return 1;
}

uint8_t LIBUSB_CALL libusb_get_device_address(libusb_device* device) {
  return static_cast<uint8_t>(device->address);
}

int LIBUSB_CALL libusb_get_active_config_descriptor(libusb_device* device,
                                                    libusb_config_descriptor** config) {
  if (!device->isPresent()) return LIBUSB_ERROR_NO_DEVICE;
  static Configuration only;
  *config = &only.head;
  return LIBUSB_SUCCESS;
}

int LIBUSB_CALL libusb_get_config_descriptor(libusb_device* device, uint8_t,
                                             libusb_config_descriptor** config) {
  return libusb_get_active_config_descriptor(device, config);
}

void LIBUSB_CALL libusb_free_config_descriptor(libusb_config_descriptor*) {}

int LIBUSB_CALL libusb_open(libusb_device* device, libusb_device_handle** handle) {
  if (!device->isPresent()) return LIBUSB_ERROR_NO_DEVICE;
  if (const int error = device->device->openError; error != 0) return error;
  ++device->device->openConnections;
  ++device->device->connectionsOpened;
  const std::lock_guard lock(bus().mutex);
  *handle = &bus().connections.emplace_back(libusb_device_handle{device});
  return LIBUSB_SUCCESS;
}

void LIBUSB_CALL libusb_close(libusb_device_handle* handle) {
  --handle->device().openConnections;
  handle->device().release(handle);
  const std::lock_guard lock(bus().mutex);
  bus().connections.remove_if([&](const libusb_device_handle& each) { return &each == handle; });
}

libusb_device* LIBUSB_CALL libusb_get_device(libusb_device_handle* handle) {
  return handle->attachment;
}

int LIBUSB_CALL libusb_kernel_driver_active(libusb_device_handle*, int) {
  return 0;
}

int LIBUSB_CALL libusb_set_configuration(libusb_device_handle*, int) {
  return LIBUSB_SUCCESS;
}

int LIBUSB_CALL libusb_claim_interface(libusb_device_handle* handle, int) {
  return handle->isPresent() ? handle->device().claim(handle) : LIBUSB_ERROR_NO_DEVICE;
}

int LIBUSB_CALL libusb_release_interface(libusb_device_handle* handle, int) {
  return handle->isPresent() ? handle->device().release(handle) : LIBUSB_ERROR_NO_DEVICE;
}

int LIBUSB_CALL libusb_clear_halt(libusb_device_handle*, unsigned char) {
  return LIBUSB_SUCCESS;
}

int LIBUSB_CALL libusb_reset_device(libusb_device_handle* handle) {
  if (!handle->isPresent()) return LIBUSB_ERROR_NO_DEVICE;
  handle->device().reset();
  return LIBUSB_SUCCESS;
}

int LIBUSB_CALL libusb_get_string_descriptor_ascii(libusb_device_handle* handle, uint8_t,
                                                   unsigned char* data, int length) {
  if (!handle->isPresent()) return LIBUSB_ERROR_NO_DEVICE;
  const std::string text = "MTP";
  const std::size_t count = std::min<std::size_t>(text.size(), length - 1);
  std::copy_n(text.begin(), count, data);
  data[count] = 0;
  return static_cast<int>(count);
}

/// Answers requests of the still-image class and of USB itself with zeros, except for the status.
int LIBUSB_CALL libusb_control_transfer(libusb_device_handle* handle, uint8_t type, uint8_t request,
                                        uint16_t, uint16_t, unsigned char* data, uint16_t length,
                                        unsigned int) {
  constexpr std::uint8_t kDeviceStatus = 0x67;
  if (!handle->isPresent()) return LIBUSB_ERROR_NO_DEVICE;
  if ((type & LIBUSB_ENDPOINT_IN) == 0) return length;
  std::array<unsigned char, 4> answer{};
  if (request == kDeviceStatus) answer = {4, 0, ptp::kOk & 0xFF, ptp::kOk >> 8};
  const std::size_t count = std::min<std::size_t>(length, answer.size());
  std::copy_n(answer.begin(), count, data);
  return static_cast<int>(count);
}

int LIBUSB_CALL libusb_bulk_transfer(libusb_device_handle* handle, unsigned char endpoint,
                                     unsigned char* data, int length, int* transferred,
                                     unsigned int timeout) {
  const int address = handle->attachment->address;
  *transferred = 0;
  if (endpoint == kEndpointEvents) return LIBUSB_ERROR_TIMEOUT;
  if (endpoint == kEndpointIn) {
    const int result = handle->device().receive(address, data, length, *transferred, timeout);
    if (result != LIBUSB_SUCCESS) forgive(data);
    return result;
  }
  const std::string_view bytes(reinterpret_cast<const char*>(data), length);
  const int result = handle->device().send(address, bytes, timeout);
  if (result == LIBUSB_SUCCESS) *transferred = length;
  return result;
}

}  // extern "C"
