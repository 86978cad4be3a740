#pragma once

#include <atomic>
#include <chrono>
#include <memory>
#include <string>

namespace orvel::test {

/// A device of the test's own: shows a folder at a mount point, through a file system in user space
/// that is served by threads of this process, and fails on demand. Nothing is cached in between. A
/// folder called "again" shows the root, as on a damaged file system.
class FaultyDevice {
 public:
  enum class Fault {
    None,
    NoDevice,      ///< every operation fails with ENODEV, the mount point's status, too
    Disconnected,  ///< the kernel gives the device up: ENOTCONN
    Unmounted,     ///< ENODEV, and the mount point is the empty folder below
    IoError,       ///< the one operation fails with EIO
    IoErrors,      ///< every operation below the mount point fails with EIO
    Hang,          ///< operations do not return
    BadSectors,    ///< EIO for the last 1000 bytes of files called 1.mp3 or bad.m3u, and for the
                   ///< entries of folders called bad
    HangingReads,  ///< reads of files do not return; all else works
    Shrink,        ///< files end after 1000 bytes, whatever their size is said to be
  };

  /// Mounts the folder `content`. Throws std::system_error when that is not possible here.
  FaultyDevice(const std::string& content, const std::string& mountPoint);
  /// Lets hanging operations go and unmounts.
  ~FaultyDevice();
  FaultyDevice(const FaultyDevice&) = delete;
  FaultyDevice& operator=(const FaultyDevice&) = delete;

  /// Lets the n-th operation from now meet the fault, and the later ones, unless it is one of a
  /// moment.
  void arm(Fault fault, long n);
  /// All is well again, as far as the fault can be undone.
  void disarm();

  /// How many operations there were since the last call of `arm`.
  [[nodiscard]] long operations() const;

  /// True once an operation has met the fault.
  [[nodiscard]] bool hasFailed() const;
  /// When the fault was met first.
  [[nodiscard]] std::chrono::steady_clock::time_point failedAt() const;

 private:
  struct Server;
  struct Operations;
  std::unique_ptr<Server> server;
};

}  // namespace orvel::test
