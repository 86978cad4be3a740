#include <linux/usb/ch9.h>
#include <linux/usb/functionfs.h>

#include <charconv>
#include <cstring>
#include <exception>
#include <fstream>
#include <iostream>
#include <limits>
#include <string>
#include <system_error>
#include <thread>

#include "tests/vm/gadget/DescribedPlayer.h"
#include "tests/vm/gadget/FunctionFs.h"

namespace {

using namespace orvel::test;

const char usage[] =
    "Usage: orvel-mtp-gadget MOUNT_POINT SCRIPT [COMMANDS UDC]\n"
    "Offers the device that SCRIPT (docs/mtp.md) describes on USB, through the FunctionFS mounted\n"
    "at MOUNT_POINT. After so many commands the cable falls out: the gadget's file UDC is "
    "emptied.\n"
    "Runs until it is killed.\n";

constexpr std::size_t kPacketSize = 512;
constexpr std::size_t kLongestTransfer = 32 * kPacketSize;

/// The requests of the still-image class on the control pipe.
enum Request : std::uint8_t { kCancel = 0x64, kReset = 0x66, kDeviceStatus = 0x67 };

void answerRequest(const MessageFile& control, Responder& responder, const usb_ctrlrequest& asked) {
  const bool toHost = (asked.bRequestType & USB_DIR_IN) != 0;
  if (toHost && asked.bRequest == kDeviceStatus) {
    control.write(Dataset().u16(4).u16(ptp::kOk).bytes());
  } else if (!toHost && (asked.bRequest == kCancel || asked.bRequest == kReset)) {
    static_cast<void>(control.read(asked.wLength));
    if (asked.bRequest == kReset) responder.reset();
  } else {
    control.refuse(toHost);
  }
}

void serveControl(const MessageFile& control, Responder& responder) {
  for (;;) {
    const std::string message = control.read(sizeof(usb_functionfs_event));
    usb_functionfs_event event{};
    if (message.size() < sizeof event) continue;
    std::memcpy(&event, message.data(), sizeof event);
    if (event.type == FUNCTIONFS_ENABLE) responder.reset();
    if (event.type == FUNCTIONFS_SETUP) answerRequest(control, responder, event.u.setup);
  }
}

void send(const MessageFile& toHost, std::string_view container) {
  const bool full = container.size() % kPacketSize == 0;
  for (; !container.empty(); container.remove_prefix(std::min(kLongestTransfer, container.size())))
    toHost.write(container.substr(0, kLongestTransfer));
  if (full) toHost.write({});
}

void print(const std::string& message) {
  const std::optional<Container> command = Container::parse(message);
  if (!command) return;
  std::cout << std::hex << command->code;
  for (std::size_t i = 0; 4 * i < command->payload.size(); ++i)
    std::cout << " " << command->parameter(i);
  std::cout << std::endl;
}

struct CableFall {
  std::size_t commands = std::numeric_limits<std::size_t>::max();
  std::string udc;
};

void serveCommands(const FunctionFs& usb, Responder& responder, const CableFall& fall) {
  for (std::size_t commands = 0;;) {
    try {
      const std::string command = usb.fromHost.read(kLongestTransfer);
      print(command);
      if (++commands == fall.commands) std::ofstream(fall.udc) << "\n";
      for (const std::string& container : responder.answer(command)) send(usb.toHost, container);
    } catch (const std::system_error& error) {
      // The host is gone; the next read waits for one.
      if (error.code().value() != ESHUTDOWN && error.code().value() != EINTR) throw;
    }
  }
}

bool parse(int count, char** texts, CableFall& fall) {
  if (count == 3) return true;
  if (count != 5) return false;
  const std::string_view commands = texts[3];
  const char* end = commands.data() + commands.size();
  fall.udc = texts[4];
  return std::from_chars(commands.data(), end, fall.commands).ptr == end;
}

}  // namespace

int main(int count, char** texts) {
  CableFall fall;
  if (!parse(count, texts, fall)) {
    std::cerr << usage;
    return 2;
  }
  try {
    Player player = describedPlayer(texts[2]);
    Responder responder(std::move(player.media), std::move(player.identity));
    const FunctionFs usb(texts[1]);
    std::thread([&] { serveCommands(usb, responder, fall); }).detach();
    serveControl(usb.control, responder);
  } catch (const std::exception& error) {
    std::cerr << "orvel-mtp-gadget: " << error.what() << "\n";
  }
  return 1;
}
