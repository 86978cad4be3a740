#include "qml/RowChange.h"

#include <QHash>
#include <algorithm>
#include <iterator>
#include <utility>

namespace orvel::qml {

namespace {

using Kind = RowChange::Kind;

/// The longest series of members of `numbers` that rises; marks them.
std::vector<bool> risingMembers(const std::vector<int>& numbers) {
  std::vector<std::size_t> ends;  ///< of the best series of each length
  std::vector<std::size_t> before(numbers.size());
  for (std::size_t i = 0; i < numbers.size(); ++i) {
    const auto place =
        std::lower_bound(ends.begin(), ends.end(), numbers[i],
                         [&](std::size_t end, int number) { return numbers[end] < number; });
    if (place != ends.begin()) before[i] = *std::prev(place);
    if (place == ends.end()) {
      ends.push_back(i);
    } else {
      *place = i;
    }
  }
  std::vector<bool> members(numbers.size(), false);
  for (std::size_t length = ends.size(), i = ends.empty() ? 0 : ends.back(); length > 0; --length) {
    members[i] = true;
    i = before[i];
  }
  return members;
}

QHash<QString, int> placesOf(const MediaRows& rows) {
  QHash<QString, int> places;
  places.reserve(static_cast<qsizetype>(rows.size()));
  for (std::size_t i = 0; i < rows.size(); ++i) places.insert(rows[i]->key, static_cast<int>(i));
  return places;
}

/// Takes steps on a copy of the list while they are found.
class ChangeFinder {
 public:
  ChangeFinder(const MediaRows& before, const ChangeReceiver& receiver)
      : rows(before), receive(receiver) {}

  void take(RowChange&& change) {
    change.applyTo(rows);
    receive(std::move(change));
  }

  /// Removes the rows that are not in `places`, from the end, run by run.
  void removeOthers(const QHash<QString, int>& places) {
    for (auto end = rows.size(); end > 0;) {
      auto first = end;
      while (first > 0 && !places.contains(rows[first - 1]->key)) --first;
      if (first == end) {
        --end;
        continue;
      }
      take({Kind::Remove, static_cast<int>(first), static_cast<int>(end - first), 0, {}});
      end = first;
    }
  }

  /// Moves the rows that are out of order; the longest series that is in order stays.
  void reorder(const QHash<QString, int>& places) {
    std::vector<int> wanted;
    wanted.reserve(rows.size());
    for (const auto& row : rows) wanted.push_back(places.value(row->key));
    const std::vector<bool> stays = risingMembers(wanted);
    std::vector<int> movers;
    for (std::size_t i = 0; i < wanted.size(); ++i) {
      if (!stays[i]) movers.push_back(wanted[i]);
    }
    std::vector<int> settled = wanted;
    for (std::size_t i = 0; i < settled.size(); ++i) {
      if (!stays[i]) settled[i] = -1;
    }
    for (const int mover : movers) {
      const auto from = std::find(wanted.begin(), wanted.end(), mover) - wanted.begin();
      wanted.erase(wanted.begin() + from);
      settled.erase(settled.begin() + from);
      const auto to = std::find_if(settled.begin(), settled.end(),
                                   [mover](int other) { return other > mover; }) -
                      settled.begin();
      wanted.insert(wanted.begin() + to, mover);
      settled.insert(settled.begin() + to, mover);
      if (from != to) take({Kind::Move, static_cast<int>(from), 1, static_cast<int>(to), {}});
    }
  }

  void insertAndUpdate(const MediaRows& after) {
    const auto known = placesOf(rows);
    for (std::size_t i = 0; i < after.size();) {
      auto end = i;
      while (end < after.size() && !known.contains(after[end]->key)) ++end;
      if (end > i) {
        take({Kind::Insert, static_cast<int>(i), static_cast<int>(end - i), 0,
              MediaRows(after.begin() + static_cast<std::ptrdiff_t>(i),
                        after.begin() + static_cast<std::ptrdiff_t>(end))});
        i = end;
        continue;
      }
      if (!(*rows[i] == *after[i])) take({Kind::Update, static_cast<int>(i), 1, 0, {after[i]}});
      ++i;
    }
  }

 private:
  MediaRows rows;
  const ChangeReceiver& receive;
};

}  // namespace

void findChanges(const MediaRows& before, const MediaRows& after, const ChangeReceiver& receive) {
  const auto places = placesOf(after);
  ChangeFinder finder(before, receive);
  finder.removeOthers(places);
  finder.reorder(places);
  finder.insertAndUpdate(after);
}

void RowChange::applyTo(MediaRows& list) const {
  const auto place = list.begin() + first;
  switch (kind) {
    case Kind::Insert:
      list.insert(place, rows.begin(), rows.end());
      break;
    case Kind::Remove:
      list.erase(place, place + count);
      break;
    case Kind::Move: {
      MediaRowPointer row = *place;
      list.erase(place);
      list.insert(list.begin() + to, std::move(row));
      break;
    }
    case Kind::Update:
      std::copy(rows.begin(), rows.end(), place);
      break;
  }
}

}  // namespace orvel::qml
