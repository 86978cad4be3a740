#pragma once

#include <cstdint>

/// The codes of the Picture Transfer Protocol and of its media extension that the responder speaks.
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
  kGetPartialObject64 = 0x95C1,
  kGetObjectPropsSupported = 0x9801,
  kGetObjectPropDesc = 0x9802,
  kGetObjectPropValue = 0x9803,
  kGetObjPropList = 0x9805,
  kGetObjectReferences = 0x9810,
};

enum Response : std::uint16_t {
  kOk = 0x2001,
  kGeneralError = 0x2002,
  kSessionNotOpen = 0x2003,
  kOperationNotSupported = 0x2005,
  kInvalidStorageId = 0x2008,
  kInvalidObjectHandle = 0x2009,
  kAccessDenied = 0x200F,
  kDeviceBusy = 0x2019,
  kInvalidParentObject = 0x201A,
  kInvalidParameter = 0x201D,
  kSessionAlreadyOpen = 0x201E,
  kInvalidObjectPropCode = 0xA801,
};

enum Format : std::uint16_t {
  kUndefined = 0x3000,
  kAssociation = 0x3001,  ///< a folder
  kWav = 0x3008,
  kMp3 = 0x3009,
  kJpeg = 0x3801,
  kUndefinedAudio = 0xB900,
  kWma = 0xB901,
  kOgg = 0xB902,
  kAac = 0xB903,
  kFlac = 0xB906,
  kMp4 = 0xB982,
  kPlaylist = 0xBA05,  ///< abstract audio and video playlist
};

enum Property : std::uint16_t {
  kStorageId = 0xDC01,
  kObjectFormat = 0xDC02,
  kObjectSize = 0xDC04,
  kObjectFileName = 0xDC07,
  kDateModified = 0xDC09,
  kParentObject = 0xDC0B,
  kName = 0xDC44,  ///< the title of a track
  kArtist = 0xDC46,
  kDuration = 0xDC89,
  kTrackNumber = 0xDC8B,
  kGenre = 0xDC8C,
  kComposer = 0xDC96,
  kAlbumName = 0xDC9A,
};

enum DataType : std::uint16_t {
  kUint16 = 0x0004,
  kUint32 = 0x0006,
  kUint64 = 0x0008,
  kText = 0xFFFF,
};

enum ContainerType : std::uint16_t { kCommand = 1, kData = 2, kResponse = 3 };

/// In place of a storage or a format: all of them; in place of a parent: the root.
constexpr std::uint32_t kAll = 0xFFFFFFFF;
constexpr std::uint32_t kRoot = 0xFFFFFFFF;

}  // namespace orvel::test::ptp
