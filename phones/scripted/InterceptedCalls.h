#pragma once

#include "phones/DeviceCalls.h"

namespace orvel::scripted {

/// Calls to a device that a derived class can make fail: before each call it may answer in place of
/// the device, and it may change how many items the device counts and delivers.
class InterceptedCalls : public DeviceCalls {
 public:
  using DeviceCalls::DeviceCalls;

  t_status getNumItems(const t_mtp_container& container, t_mtp_item_type type,
                       std::uint32_t& count) override;
  t_status getItems(const t_mtp_container& container, t_mtp_item_type type, std::uint32_t start,
                    std::uint32_t count, t_mtp_item_list& items) override;
  t_status getNumElements(t_content_categories category, std::uint32_t& count) override;
  t_status getPlaylistElements(t_content_categories category, std::uint32_t start,
                               std::uint32_t count, t_playlist_items_list& elements) override;
  t_status resetCategory() override;
  t_status selectCategory(t_content_categories category, std::uint32_t index) override;
  t_status getTrackText(TrackText which, t_track_id id, std::string& text) override;
  t_status getTrackAlbumTrackIndex(t_track_id id, std::uint16_t& index) override;
  t_status getTrackFileSize(t_track_id id, std::uint64_t& size) override;

 protected:
  // On the callers' threads, several at once.
  /// Before the call of this name: a status other than STATUS_OK becomes its answer.
  virtual t_status enterCall(const char* name) = 0;
  /// The count to report for a container that has `present` items.
  virtual std::uint32_t countItems(const t_mtp_container& of, std::uint32_t present) = 0;
  /// How many of the `present` items of one page to deliver, at most all.
  virtual std::uint32_t pageItems(const t_mtp_container& of, std::uint32_t present) = 0;

 private:
  template <class Call>
  t_status intercept(const char* name, Call call);
};

}  // namespace orvel::scripted
