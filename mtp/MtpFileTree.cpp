// The walk over a device.

#include <algorithm>
#include <atomic>
#include <unordered_set>

#include "base/Log.h"
#include "framework/SongLimit.h"
#include "mtp/MtpConnectionImpl.h"
#include "phones/DeviceLimits.h"
#include "phones/MtpUtils.h"

namespace orvel {

namespace {

/// How many empty or failed pages end the listing of a folder: as many as calls to a busy device.
constexpr int kMaxFruitlessPages = kBusyRetries + 1;

/// One recount is allowed for each run of short reads, whichever folder or thread it happens to.
std::atomic<bool> recountAllowed{true};

}  // namespace

/// The walk through one folder.
struct MtpConnection::Impl::FolderWalk {
  t_handle device;
  t_mtp_container container;
  bool isRoot;
  std::uint32_t total = 0;
  std::uint32_t start = 0;
  std::uint32_t pageCount = 0;
  int fruitlessPages = 0;

  [[nodiscard]] int folderId() const { return static_cast<int>(container.id); }
  [[nodiscard]] int storageId() const { return static_cast<int>(container.storage); }
};

bool MtpConnection::Impl::crawlMtpDevice() {
  OV_INFO("crawlMtpDevice");
  const t_mtp_container wholeDevice = {CONTAINER_DEVICE, 0, 0};
  std::uint32_t count = 0;
  t_status status = SafeGetNumItems(handle, wholeDevice, TYPE_STORAGE, count);
  OV_INFO("%d elements of TYPE_STORAGE are present in this device", static_cast<int>(count));
  if (status != STATUS_OK || count == 0) return false;
  OwnedItems storages;
  status = SafeGetItems(handle, wholeDevice, TYPE_STORAGE, 0, count, storages.out());
  if (status != STATUS_OK) {
    OV_ERROR("- error while getting MTP partitions");
    return false;
  }
  OV_INFO("Index   -   Name of Storage");
  for (const t_mtp_item& storage : storages) {
    OV_INFO("[%d] - %s of type %d", static_cast<int>(storage.id), storage.name,
            static_cast<int>(storage.type));
  }
  for (const t_mtp_item& storage : storages) {
    if (!MTPFileTree(static_cast<int>(handle), static_cast<int>(storage.id), 0, true)) {
      OV_ERROR("MTPFileTree fail");
      return false;
    }
  }
  OwnedItems none;
  Access_GetItems(handle, {CONTAINER_WALK_DONE, 0, 0}, TYPE_WALK_DONE, 0, 0, none.out());
  return true;
}

bool MtpConnection::Impl::MTPFileTree(int device, const int& storageId, const int& folderId,
                                      bool isRoot) {
  if (isRoot) OV_INFO("Root folder");
  if (ancestors.size() > kMaxFolderDepth ||
      std::find(ancestors.begin(), ancestors.end(), folderId) != ancestors.end()) {
    return true;
  }
  FolderWalk walk{static_cast<t_handle>(device),
                  {CONTAINER_FOLDER, static_cast<std::uint32_t>(folderId),
                   static_cast<std::uint32_t>(storageId)},
                  isRoot};
  const t_status status = SafeGetNumItems(walk.device, walk.container, TYPE_OBJECT, walk.total);
  if (status != STATUS_OK || walk.total == 0) {
    complete = complete && status == STATUS_OK;
    OV_INFO("Emtpy folder or error for Access_GetNumItems");
    if (status == STATUS_NOT_OK_BAD_HANDLE) {
      checkStatus("MTPFileTree", status);
      return false;
    }
    if (walk.total == 0) {
      OV_INFO("Folder %d is reported as empty", folderId);
      return true;
    }
  }
  ancestors.push_back(folderId);
  Page page = Page::Next;
  while (page == Page::Next) page = nextPage(walk);
  ancestors.pop_back();
  return page == Page::FolderDone;
}

MtpConnection::Impl::Page MtpConnection::Impl::nextPage(FolderWalk& walk) {
  OwnedItems page;
  const t_status status =
      SafeGetItems(walk.device, walk.container, TYPE_OBJECT, walk.start, walk.total, page.out());
  if (status != STATUS_OK) {
    OV_INFO("Access_GetItems returns error");
    complete = false;
    if (status == STATUS_NOT_OK_BAD_HANDLE) {
      checkStatus("MTPFileTree", status);
      return Page::WalkFailed;
    }
  } else {
    walk.pageCount = page.size();
    if (walk.pageCount == 0 && walk.start != 0 && walk.total != 0) {
      if (!recountAllowed.exchange(false)) return giveUp(walk);
      recount(walk);
    } else {
      recountAllowed = true;
    }
    for (const t_mtp_item& item : page) {
      if (!visit(walk, item)) return Page::WalkFailed;
    }
  }
  if (walk.start + walk.pageCount >= walk.total || isGone()) return Page::FolderDone;
  if (walk.pageCount == 0 &&
      (status == STATUS_BUSY || ++walk.fruitlessPages == kMaxFruitlessPages)) {
    return giveUp(walk);
  }
  walk.start += walk.pageCount;
  return Page::Next;
}

void MtpConnection::Impl::recount(FolderWalk& walk) {
  OV_WARN(
      "Could not fetch more items for container %d of storage %d. Got %d / %d. Checking if number "
      "of elements changed",
      walk.folderId(), walk.storageId(), static_cast<int>(walk.start),
      static_cast<int>(walk.total));
  SafeGetNumItems(walk.device, walk.container, TYPE_OBJECT, walk.total);
  OV_WARN("New number of elements for container %d of storage %d is %d", walk.folderId(),
          walk.storageId(), static_cast<int>(walk.total));
}

MtpConnection::Impl::Page MtpConnection::Impl::giveUp(const FolderWalk& walk) {
  OV_WARN("Could not fetch all items for container %d of storage %d. Got %d / %d", walk.folderId(),
          walk.storageId(), static_cast<int>(walk.start), static_cast<int>(walk.total));
  complete = false;
  recountAllowed = true;
  return Page::FolderDone;
}

/// Walks into a folder; false when the whole walk must end.
bool MtpConnection::Impl::visit(const FolderWalk& walk, const t_mtp_item& item) {
  if (isGone()) return false;
  if (item.type != TYPE_FOLDER) return true;
  const char* const name = item.name == nullptr ? "" : item.name;
  const int id = static_cast<int>(item.id);
  if (walk.isRoot && isDirectoryBlacklisted(name)) {
    OV_INFO("Ignoring folder:%s - id:%d", name, id);
    return true;
  }
  OV_INFO("Checking folder:%s - id:%d", name, id);
  if (MTPFileTree(static_cast<int>(walk.device), walk.storageId(), id, false)) return true;
  OV_ERROR("MTPFileTree fail");
  return false;
}

void MtpConnection::Impl::MTPCreateDirCache(std::vector<std::string>& dirs,
                                            t_playlist_items_list& tracks) {
  OV_INFO("MTPCreateDirCache");
  if (tracks.count > kMaxSongs) {
    OV_WARN("Invalid playlist size: %d", static_cast<int>(tracks.count));
    return;
  }
  std::unordered_set<std::string> known(dirs.begin(), dirs.end());
  const std::uint32_t count = tracks.items == nullptr ? 0 : tracks.count;
  for (std::uint32_t i = 0; i < count; ++i) {
    if (isGone()) return;
    std::string path = MtpUtils::getRawPathForMtpObject(handle, tracks.items[i].id);
    if (path.empty()) {
      OV_WARN("- error while getting track path");
      return;
    }
    if (isExcludedFile(path)) continue;
    for (auto slash = path.rfind('/'); slash != std::string::npos; slash = path.rfind('/')) {
      path.erase(slash);
      if (!known.insert(path).second) break;
      dirs.push_back(path);
      OV_INFO("- inserting path %s", path.c_str());
    }
  }
}

}  // namespace orvel
