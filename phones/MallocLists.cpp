#include "phones/MallocLists.h"

#include <cstdlib>
#include <cstring>
#include <new>
#include <string>

#include "phones/OwnedList.h"

namespace orvel {

namespace {

char* mallocText(const std::string& text) {
  char* const copy = strdup(text.c_str());
  if (copy == nullptr) throw std::bad_alloc();
  return copy;
}

t_mtp_item itemOf(const DeviceStorage& storage) {
  return {mallocText(storage.description), storage.id, TYPE_STORAGE};
}

t_mtp_item itemOf(const DeviceObject& object) {
  return {mallocText(object.name), object.id, object.isFolder ? TYPE_FOLDER : TYPE_FILE};
}

template <class Named>
t_playlist_item elementOf(const Named& named) {
  return {mallocText(named.name), named.id, 0};
}

/// A list of `List`'s items, one for each element of `all`.
template <class List, class T, class Convert>
List mallocList(const std::vector<T>& all, Convert convert) {
  if (all.empty()) return {};
  OwnedList<List> owned;
  List& list = owned.get();
  using Item = std::remove_pointer_t<decltype(list.items)>;
  list.items = static_cast<Item*>(std::calloc(all.size(), sizeof(Item)));
  if (list.items == nullptr) throw std::bad_alloc();
  for (const T& one : all) {
    list.items[list.count] = convert(one);
    ++list.count;
  }
  return owned.release();
}

}  // namespace

t_mtp_item_list mallocItems(const std::vector<DeviceStorage>& storages) {
  return mallocList<t_mtp_item_list>(storages, [](const auto& one) { return itemOf(one); });
}

t_mtp_item_list mallocItems(const std::vector<DeviceObject>& objects) {
  return mallocList<t_mtp_item_list>(objects, [](const auto& one) { return itemOf(one); });
}

t_playlist_items_list mallocElements(const std::vector<DevicePlaylist>& playlists) {
  return mallocList<t_playlist_items_list>(playlists, elementOf<DevicePlaylist>);
}

t_playlist_items_list mallocElements(const std::vector<DeviceObject>& tracks) {
  return mallocList<t_playlist_items_list>(tracks, elementOf<DeviceObject>);
}

}  // namespace orvel
