#pragma once

namespace orvel {

/// The kind of device that a request indexes.
enum class OperationType : int {
  MassStorage = 0,  ///< a mounted stick or card
  Mtp = 1           ///< a phone or player that speaks MTP
};

}  // namespace orvel
