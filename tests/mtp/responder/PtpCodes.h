#pragma once

#include <cstdint>

/// The codes of the Picture Transfer Protocol (ISO 15740) and of its media extension (MTP, USB-IF)
/// that the responder and its tests use.
namespace orvel::test::ptp {

enum Operation : std::uint16_t {
  kAnyOperation = 0,  ///< of a fault
  kGetDeviceInfo = 0x1001,
  kOpenSession = 0x1002,
  kCloseSession = 0x1003,
  kGetStorageIds = 0x1004,
  kGetStorageInfo = 0x1005,
  kGetNumObjects = 0x1006,
  kGetObjectHandles = 0x1007,
  kGetObjectInfo = 0x1008,
  kGetObject = 0x1009,
  kGetPartialObject = 0x101B,
  kGetObjectPropsSupported = 0x9801,
  kGetObjectPropDesc = 0x9802,
  kGetObjectPropValue = 0x9803,
  kGetObjectReferences = 0x9810,
};

enum Response : std::uint16_t {
  kOk = 0x2001,
  kSessionNotOpen = 0x2003,
  kOperationNotSupported = 0x2005,
  kInvalidStorageId = 0x2008,
  kInvalidObjectHandle = 0x2009,
  kAccessDenied = 0x200F,
  kDeviceBusy = 0x2019,
  kInvalidParameter = 0x201D,
  kSessionAlreadyOpen = 0x201E,
  kInvalidObjectPropCode = 0xA801,
};

enum Format : std::uint16_t {
  kUndefined = 0x3000,
  kAssociation = 0x3001,  ///< a folder
  kMp3 = 0x3009,
  kJpeg = 0x3801,
  kFlac = 0xB906,
  kMp4 = 0xB982,
  kPlaylist = 0xBA05,  ///< abstract audio and video playlist
};

enum ContainerType : std::uint16_t { kCommand = 1, kData = 2, kResponse = 3 };

/// In place of a parent: the root.
constexpr std::uint32_t kRoot = 0xFFFFFFFF;

}  // namespace orvel::test::ptp
