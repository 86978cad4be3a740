#define FUSE_USE_VERSION 312

#include "tests/faults/FaultyDevice.h"

#include <dirent.h>
#include <fcntl.h>
#include <fuse.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <condition_variable>
#include <cstring>
#include <functional>
#include <mutex>
#include <optional>
#include <string_view>
#include <system_error>
#include <thread>

namespace orvel::test {

namespace {

using Clock = std::chrono::steady_clock;

constexpr off_t kShrunkBytes = 1000;
constexpr off_t kBadBytes = 1000;

}  // namespace

/// The threads that serve one mount, and their faults.
struct FaultyDevice::Server {
  Server(std::string contentFolder, std::string mountFolder)
      : content(std::move(contentFolder)), mountPoint(std::move(mountFolder)) {}

  /// Counts one operation; 0, or the negative error number that it ends with.
  int meet();
  void vanish(Fault how);
  [[nodiscard]] bool hasBadSectors() {
    const std::lock_guard lock(mutex);
    return fault == Fault::BadSectors;
  }
  [[nodiscard]] std::string below(const char* path) const {
    const std::size_t last = std::string_view(path).rfind("/again");
    return content + (last == std::string_view::npos ? path : path + last + std::strlen("/again"));
  }

  const std::string content;
  const std::string mountPoint;
  fuse* filesystem = nullptr;
  std::thread loop;

  std::mutex mutex;
  std::condition_variable released;
  Fault fault = Fault::None;
  long first = 0;
  long count = 0;
  std::optional<Clock::time_point> failed;
};

int FaultyDevice::Server::meet() {
  std::unique_lock lock(mutex);
  const long number = ++count;
  if (fault == Fault::None || number < first) return 0;
  const bool isFirst = !failed;
  if (isFirst) failed = Clock::now();
  switch (fault) {
    case Fault::NoDevice:
      return -ENODEV;
    case Fault::Disconnected:
    case Fault::Unmounted:
      if (isFirst) vanish(fault);
      return -ENODEV;
    case Fault::IoError:
      return number == first ? -EIO : 0;
    case Fault::IoErrors:
      return -EIO;
    case Fault::Hang:
      released.wait(lock, [this] { return fault != Fault::Hang; });
      return 0;
    case Fault::Shrink:
    case Fault::BadSectors:
    case Fault::HangingReads:
    case Fault::None:
      return 0;
  }
  return 0;
}

void FaultyDevice::Server::vanish(Fault how) {
  umount2(mountPoint.c_str(), how == Fault::Disconnected ? MNT_FORCE : MNT_DETACH);
}

/// The operations of the file system.
struct FaultyDevice::Operations {
  static Server& server() { return *static_cast<Server*>(fuse_get_context()->private_data); }

  static int errorOf(int result) { return result == 0 ? 0 : -errno; }

  static void* begin(fuse_conn_info* /*connection*/, fuse_config* config) {
    config->attr_timeout = 0;
    config->entry_timeout = 0;
    config->negative_timeout = 0;
    config->direct_io = 1;
    config->use_ino = 1;
    return fuse_get_context()->private_data;
  }

  static int getattr(const char* path, struct stat* status, fuse_file_info* /*file*/) {
    Server& device = server();
    // The mount point of a device with bad blocks still exists.
    const bool isRoot = std::strcmp(path, "/") == 0;
    if (const int error = device.meet(); error != 0 && !(isRoot && error == -EIO)) return error;
    const int error = errorOf(lstat(device.below(path).c_str(), status));
    // Some file systems number their files by the entries that lead to them.
    status->st_ino ^= std::hash<std::string_view>()(path);
    return error;
  }

  static int opendir(const char* /*path*/, fuse_file_info* /*file*/) { return server().meet(); }

  static int readdir(const char* path, void* buffer, fuse_fill_dir_t fill, off_t /*offset*/,
                     fuse_file_info* /*file*/, fuse_readdir_flags /*flags*/) {
    Server& device = server();
    if (const int error = device.meet()) return error;
    if (device.hasBadSectors() && std::string_view(path).ends_with("/bad")) return -EIO;
    const std::unique_ptr<DIR, int (*)(DIR*)> folder(::opendir(device.below(path).c_str()),
                                                     &closedir);
    if (folder == nullptr) return -errno;
    while (const dirent* entry = ::readdir(folder.get())) {
      fill(buffer, entry->d_name, nullptr, 0, static_cast<fuse_fill_dir_flags>(0));
    }
    return 0;
  }

  static int open(const char* path, fuse_file_info* file) {
    Server& device = server();
    if (const int error = device.meet()) return error;
    const int opened = ::open(device.below(path).c_str(), O_RDONLY | O_CLOEXEC);
    if (opened < 0) return -errno;
    file->fh = static_cast<std::uint64_t>(opened);
    return 0;
  }

  static bool meetsBadSector(const char* path, fuse_file_info* file, off_t end) {
    const std::string_view name(path);
    struct stat status {};
    return (name.ends_with("/1.mp3") || name.ends_with("/bad.m3u")) &&
           fstat(static_cast<int>(file->fh), &status) == 0 && end > status.st_size - kBadBytes;
  }

  static int read(const char* path, char* data, size_t bytes, off_t offset, fuse_file_info* file) {
    Server& device = server();
    if (const int error = device.meet()) return error;
    {
      std::unique_lock lock(device.mutex);
      if (device.fault == FaultyDevice::Fault::BadSectors &&
          meetsBadSector(path, file, offset + static_cast<off_t>(bytes))) {
        return -EIO;
      }
      device.released.wait(lock, [&] { return device.fault != FaultyDevice::Fault::HangingReads; });
      const bool shrunk = device.fault == FaultyDevice::Fault::Shrink && device.failed;
      if (shrunk && offset >= kShrunkBytes) return 0;
      if (shrunk) bytes = std::min<std::size_t>(bytes, kShrunkBytes - offset);
    }
    const ssize_t got = pread(static_cast<int>(file->fh), data, bytes, offset);
    return got < 0 ? -errno : static_cast<int>(got);
  }

  static int release(const char* /*path*/, fuse_file_info* file) {
    return errorOf(close(static_cast<int>(file->fh)));
  }

  static fuse_operations table() {
    fuse_operations operations{};
    operations.init = begin;
    operations.getattr = getattr;
    operations.opendir = opendir;
    operations.readdir = readdir;
    operations.open = open;
    operations.read = read;
    operations.release = release;
    return operations;
  }
};

FaultyDevice::FaultyDevice(const std::string& content, const std::string& mountPoint)
    : server(std::make_unique<Server>(content, mountPoint)) {
  static const fuse_operations operations = Operations::table();
  char name[] = "device";
  char* arguments[] = {name, nullptr};
  fuse_args options = FUSE_ARGS_INIT(1, arguments);
  server->filesystem = fuse_new(&options, &operations, sizeof operations, server.get());
  fuse_opt_free_args(&options);
  if (server->filesystem == nullptr || fuse_mount(server->filesystem, mountPoint.c_str()) != 0) {
    const int error = errno;
    if (server->filesystem != nullptr) fuse_destroy(server->filesystem);
    throw std::system_error(error, std::generic_category(), "no file system in user space");
  }
  server->loop = std::thread([this] {
    fuse_loop_config* config = fuse_loop_cfg_create();
    fuse_loop_cfg_set_max_threads(config, 20);
    fuse_loop_mt(server->filesystem, config);
    fuse_loop_cfg_destroy(config);
  });
}

FaultyDevice::~FaultyDevice() {
  disarm();
  fuse_exit(server->filesystem);
  fuse_unmount(server->filesystem);
  // A device that was given up stays mounted.
  umount2(server->mountPoint.c_str(), MNT_DETACH);
  server->loop.join();
  fuse_destroy(server->filesystem);
}

void FaultyDevice::arm(Fault fault, long n) {
  const std::lock_guard lock(server->mutex);
  server->fault = fault;
  server->first = n;
  server->count = 0;
  server->failed.reset();
}

void FaultyDevice::disarm() {
  const std::lock_guard lock(server->mutex);
  server->fault = Fault::None;
  server->released.notify_all();
}

long FaultyDevice::operations() const {
  const std::lock_guard lock(server->mutex);
  return server->count;
}

bool FaultyDevice::hasFailed() const {
  const std::lock_guard lock(server->mutex);
  return server->failed.has_value();
}

Clock::time_point FaultyDevice::failedAt() const {
  const std::lock_guard lock(server->mutex);
  return server->failed.value();
}

}  // namespace orvel::test
