#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "tests/mtp/responder/Media.h"

/// What the media extension tells of objects one property at a time.
namespace orvel::test::objectProperties {

/// The properties that objects of a format have.
std::vector<std::uint16_t> supported(std::uint16_t format);
/// Nothing if the responder knows no such property.
std::optional<ptp::DataType> dataType(std::uint16_t property);
/// The dataset of a property's description.
std::string description(std::uint16_t property, ptp::DataType type);
/// The dataset of an object's value; nothing if the object has no such property.
std::optional<std::string> value(const MediaObject& object, std::uint16_t property);

}  // namespace orvel::test::objectProperties
