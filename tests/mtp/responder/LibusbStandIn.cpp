#include "tests/mtp/responder/LibusbStandIn.h"

#include <libusb-1.0/libusb.h>
#ifdef ORVEL_LEAKS_ARE_SOUGHT
#include <sanitizer/lsan_interface.h>
#endif

#include <algorithm>
#include <array>
#include <cstring>
#include <deque>
#include <list>
#include <mutex>
#include <vector>

using orvel::test::StandInDevice;

/// One attachment of a device.
struct libusb_device {
  std::shared_ptr<StandInDevice> device;
  int address = 0;
};

struct libusb_device_handle {
  libusb_device* attachment = nullptr;
  bool claimed = false;
};

struct libusb_context {};

namespace orvel::test::libusbStandIn {
namespace {

constexpr int kBusNumber = 1;
constexpr int kAddresses = 126;

struct Bus {
  std::mutex mutex;
  /// Never emptied: libmtp uses an attachment after the list that it came from was freed.
  std::deque<libusb_device> attachments;
  /// The open ones, and those that libmtp forgets when it cannot use a device.
  std::list<libusb_device_handle> connections;

  int nextAddress() const { return static_cast<int>(attachments.size()) % kAddresses + 1; }
};

/// Outlives all threads that may still be in a call at the end of the program.
Bus& bus() {
  static Bus& instance = *new Bus;
  return instance;
}

}  // namespace

std::shared_ptr<StandInDevice> plugIn(Media media, const DeviceIdentity& identity, UsbIds ids) {
  const std::lock_guard lock(bus().mutex);
  const int address = bus().nextAddress();
  auto device = std::make_shared<StandInDevice>(std::move(media), identity, ids, address);
  bus().attachments.push_back({device, address});
  return device;
}

void plugInAgain(const std::shared_ptr<StandInDevice>& device) {
  const std::lock_guard lock(bus().mutex);
  const int address = bus().nextAddress();
  device->attach(address);
  bus().attachments.push_back({device, address});
}

void unplugAll() {
  const std::lock_guard lock(bus().mutex);
  for (const libusb_device& attachment : bus().attachments) attachment.device->unplug();
}

namespace {

std::vector<libusb_device*> attachedDevices() {
  const std::lock_guard lock(bus().mutex);
  std::vector<libusb_device*> attached;
  for (libusb_device& attachment : bus().attachments) {
    if (attachment.device->isAttachedAt(attachment.address)) attached.push_back(&attachment);
  }
  return attached;
}

constexpr std::uint8_t kMakerText = 1, kModelText = 2, kSerialText = 3, kInterfaceText = 4;
constexpr std::uint8_t kEndpointIn = 0x81, kEndpointOut = 0x02, kEndpointEvents = 0x83;

/// The configuration of all devices and what it points to.
struct Configuration {
  libusb_config_descriptor head{};
  libusb_interface interface {};
  libusb_interface_descriptor setting{};
  std::array<libusb_endpoint_descriptor, 3> endpoints{};

  Configuration() {
    endpoints[0] = endpoint(kEndpointIn, LIBUSB_TRANSFER_TYPE_BULK, 512);
    endpoints[1] = endpoint(kEndpointOut, LIBUSB_TRANSFER_TYPE_BULK, 512);
    endpoints[2] = endpoint(kEndpointEvents, LIBUSB_TRANSFER_TYPE_INTERRUPT, 28);
    setting.bLength = LIBUSB_DT_INTERFACE_SIZE;
    setting.bDescriptorType = LIBUSB_DT_INTERFACE;
    setting.bNumEndpoints = endpoints.size();
    setting.bInterfaceClass = LIBUSB_CLASS_PTP;
    setting.bInterfaceSubClass = 1;
    setting.bInterfaceProtocol = 1;
    setting.iInterface = kInterfaceText;
    setting.endpoint = endpoints.data();
    interface.altsetting = &setting;
    interface.num_altsetting = 1;
    head.bLength = LIBUSB_DT_CONFIG_SIZE;
    head.bDescriptorType = LIBUSB_DT_CONFIG;
    head.bNumInterfaces = 1;
    head.bConfigurationValue = 1;
    head.interface = &interface;
  }

  static libusb_endpoint_descriptor endpoint(std::uint8_t address, std::uint8_t type,
                                             std::uint16_t packetSize) {
    libusb_endpoint_descriptor descriptor{};
    descriptor.bLength = LIBUSB_DT_ENDPOINT_SIZE;
    descriptor.bDescriptorType = LIBUSB_DT_ENDPOINT;
    descriptor.bEndpointAddress = address;
    descriptor.bmAttributes = type;
    descriptor.wMaxPacketSize = packetSize;
    return descriptor;
  }
};

/// libmtp forgets the buffer of a read that fails: nothing that its callers could free.
void forgive([[maybe_unused]] const void* leaked) {
#ifdef ORVEL_LEAKS_ARE_SOUGHT
  __lsan_ignore_object(leaked);
#endif
}

std::string stringDescriptor(const StandInDevice& device, std::uint8_t index) {
  switch (index) {
    case kMakerText:
      return "Orvel";
    case kModelText:
      return "Test player";
    case kSerialText:
      return device.serial;
    default:
      return "MTP";
  }
}

/// The answer to a request that the still-image class or USB itself defines; all zeros for most.
std::array<unsigned char, 4> controlAnswer(std::uint8_t request) {
  constexpr std::uint8_t kDeviceStatus = 0x67;
  if (request == kDeviceStatus) return {4, 0, ptp::kOk & 0xFF, ptp::kOk >> 8};
  return {};
}

}  // namespace
}  // namespace orvel::test::libusbStandIn

using namespace orvel::test::libusbStandIn;  // NOLINT(google-build-using-namespace)

// The functions of libusb that libmtp needs, and those that its callers may use besides.
extern "C" {

int LIBUSB_CALL libusb_init(libusb_context** context) {
  static libusb_context only;
  if (context != nullptr) *context = &only;
  return LIBUSB_SUCCESS;
}

void LIBUSB_CALL libusb_exit(libusb_context*) {}

int LIBUSB_CALL libusb_set_option(libusb_context*, libusb_option, ...) {
  return LIBUSB_SUCCESS;
}

ssize_t LIBUSB_CALL libusb_get_device_list(libusb_context*, libusb_device*** list) {
  const std::vector<libusb_device*> attached = attachedDevices();
  auto copy = std::make_unique<libusb_device*[]>(attached.size() + 1);
  std::ranges::copy(attached, copy.get());
  *list = copy.release();
  return static_cast<ssize_t>(attached.size());
}

void LIBUSB_CALL libusb_free_device_list(libusb_device** list, int) {
  const std::unique_ptr<libusb_device*[]> owned(list);
}

libusb_device* LIBUSB_CALL libusb_ref_device(libusb_device* device) {
  return device;
}

void LIBUSB_CALL libusb_unref_device(libusb_device*) {}

int LIBUSB_CALL libusb_get_device_descriptor(libusb_device* device,
                                             libusb_device_descriptor* descriptor) {
  *descriptor = {};
  descriptor->bLength = LIBUSB_DT_DEVICE_SIZE;
  descriptor->bDescriptorType = LIBUSB_DT_DEVICE;
  descriptor->bcdUSB = 0x0200;
  descriptor->bMaxPacketSize0 = 64;
  descriptor->idVendor = device->device->ids.vendor;
  descriptor->idProduct = device->device->ids.product;
  descriptor->iManufacturer = kMakerText;
  descriptor->iProduct = kModelText;
  descriptor->iSerialNumber = kSerialText;
  descriptor->bNumConfigurations = 1;
  return LIBUSB_SUCCESS;
}

uint8_t LIBUSB_CALL libusb_get_bus_number(libusb_device*) {
  return kBusNumber;
}

uint8_t LIBUSB_CALL libusb_get_device_address(libusb_device* device) {
  return static_cast<uint8_t>(device->address);
}

int LIBUSB_CALL libusb_get_config_descriptor(libusb_device* device, uint8_t index,
                                             libusb_config_descriptor** config) {
  if (index != 0) return LIBUSB_ERROR_NOT_FOUND;
  return libusb_get_active_config_descriptor(device, config);
}

int LIBUSB_CALL libusb_get_active_config_descriptor(libusb_device* device,
                                                    libusb_config_descriptor** config) {
  if (!device->device->isAttachedAt(device->address)) return LIBUSB_ERROR_NO_DEVICE;
  static Configuration only;
  *config = &only.head;
  return LIBUSB_SUCCESS;
}

void LIBUSB_CALL libusb_free_config_descriptor(libusb_config_descriptor*) {}

int LIBUSB_CALL libusb_open(libusb_device* device, libusb_device_handle** handle) {
  if (const int error = device->device->open(device->address); error != 0) return error;
  const std::lock_guard lock(bus().mutex);
  *handle = &bus().connections.emplace_back(libusb_device_handle{device});
  return LIBUSB_SUCCESS;
}

void LIBUSB_CALL libusb_close(libusb_device_handle* handle) {
  handle->attachment->device->close(handle->attachment->address, handle->claimed);
  const std::lock_guard lock(bus().mutex);
  bus().connections.remove_if([&](const libusb_device_handle& each) { return &each == handle; });
}

libusb_device* LIBUSB_CALL libusb_get_device(libusb_device_handle* handle) {
  return handle->attachment;
}

int LIBUSB_CALL libusb_kernel_driver_active(libusb_device_handle*, int) {
  return 0;
}

int LIBUSB_CALL libusb_detach_kernel_driver(libusb_device_handle*, int) {
  return LIBUSB_ERROR_NOT_FOUND;
}

int LIBUSB_CALL libusb_set_configuration(libusb_device_handle*, int) {
  return LIBUSB_SUCCESS;
}

int LIBUSB_CALL libusb_claim_interface(libusb_device_handle* handle, int) {
  const int result = handle->attachment->device->claim(handle->attachment->address);
  handle->claimed = result == LIBUSB_SUCCESS;
  return result;
}

int LIBUSB_CALL libusb_release_interface(libusb_device_handle* handle, int) {
  if (!handle->claimed) return LIBUSB_ERROR_NOT_FOUND;
  handle->claimed = false;
  return handle->attachment->device->release(handle->attachment->address);
}

int LIBUSB_CALL libusb_clear_halt(libusb_device_handle*, unsigned char) {
  return LIBUSB_SUCCESS;
}

int LIBUSB_CALL libusb_reset_device(libusb_device_handle* handle) {
  return handle->attachment->device->reset(handle->attachment->address);
}

int LIBUSB_CALL libusb_get_string_descriptor_ascii(libusb_device_handle* handle, uint8_t index,
                                                   unsigned char* data, int length) {
  const StandInDevice& device = *handle->attachment->device;
  if (!device.isAttachedAt(handle->attachment->address)) return LIBUSB_ERROR_NO_DEVICE;
  const std::string text = stringDescriptor(device, index);
  const std::size_t count = std::min<std::size_t>(text.size(), length - 1);
  std::copy_n(text.begin(), count, data);
  data[count] = 0;
  return static_cast<int>(count);
}

int LIBUSB_CALL libusb_control_transfer(libusb_device_handle* handle, uint8_t type, uint8_t request,
                                        uint16_t, uint16_t, unsigned char* data, uint16_t length,
                                        unsigned int) {
  if (!handle->attachment->device->isAttachedAt(handle->attachment->address))
    return LIBUSB_ERROR_NO_DEVICE;
  if ((type & LIBUSB_ENDPOINT_IN) == 0) return length;
  const std::array<unsigned char, 4> answer = controlAnswer(request);
  const std::size_t count = std::min<std::size_t>(length, answer.size());
  std::copy_n(answer.begin(), count, data);
  return static_cast<int>(count);
}

int LIBUSB_CALL libusb_bulk_transfer(libusb_device_handle* handle, unsigned char endpoint,
                                     unsigned char* data, int length, int* transferred,
                                     unsigned int timeout) {
  StandInDevice& device = *handle->attachment->device;
  const int address = handle->attachment->address;
  *transferred = 0;
  if (endpoint == kEndpointEvents) return device.awaitNothing(address, timeout);
  if (endpoint == kEndpointIn) {
    const int result = device.receive(address, data, length, *transferred, timeout);
    if (result != LIBUSB_SUCCESS) forgive(data);
    return result;
  }
  const std::string_view bytes(reinterpret_cast<const char*>(data), length);
  const int result = device.send(address, bytes, timeout);
  if (result == LIBUSB_SUCCESS) *transferred = length;
  return result;
}

libusb_transfer* LIBUSB_CALL libusb_alloc_transfer(int) {
  return std::make_unique<libusb_transfer>().release();
}

void LIBUSB_CALL libusb_free_transfer(libusb_transfer* transfer) {
  const std::unique_ptr<libusb_transfer> owned(transfer);
}

int LIBUSB_CALL libusb_submit_transfer(libusb_transfer*) {
  return LIBUSB_ERROR_NOT_SUPPORTED;  // only the waiting for events would need it
}

int LIBUSB_CALL libusb_handle_events_timeout_completed(libusb_context*, timeval*, int*) {
  return LIBUSB_SUCCESS;
}

}  // extern "C"
