#include "tags/TagMessages.h"

#include <algorithm>
#include <cstring>
#include <utility>

#include "isolation/MessageParser.h"
#include "isolation/MessageWriter.h"
#include "tags/PictureHeader.h"

namespace orvel::tagMessages {

namespace {

constexpr char kQuestion = 'Q';
constexpr auto kThrown = static_cast<std::uint8_t>(0xFF);
constexpr auto kLastOutcome = static_cast<std::uint8_t>(TagResult::Outcome::DeviceFailed);

/// Writes the text's 16-bit units, which need not be well-formed.
void write(MessageWriter& writer, const TagLib::String& text) {
  writer.number(static_cast<std::uint32_t>(text.size()));
  for (const wchar_t unit : text) writer.number(static_cast<std::uint16_t>(unit));
}

/// Returns an empty text, and spoils the message, for a longer one than any tag's.
TagLib::String parseText(MessageParser& parser) {
  const std::size_t units = parser.number<std::uint32_t>();
  const std::size_t bytes = units * sizeof(std::uint16_t);
  const std::string_view taken =
      parser.take(units <= TagValues::kMostUnits ? bytes : std::string_view::npos);
  std::wstring wide(taken.size() / sizeof(std::uint16_t), L'\0');
  for (std::size_t i = 0; i < wide.size(); ++i) {
    std::uint16_t unit = 0;
    std::memcpy(&unit, taken.data() + i * sizeof unit, sizeof unit);
    wide[i] = unit;
  }
  return wide;
}

/// A worker that was taken over may send anything: only what is a picture is taken.
FoundPicture parsePicture(MessageParser& parser) {
  FoundPicture picture;
  picture.isRefused = parser.number<std::uint8_t>() != 0;
  const std::string_view bytes = parser.bytes();
  if (pictureHeaderOf(bytes)) {
    picture.bytes = bytes;
  } else {
    picture.isRefused = picture.isRefused || !bytes.empty();
  }
  return picture;
}

/// The text with a question mark for every byte that could deceive a reader of the log.
std::string printable(std::string_view text) {
  std::string result(text);
  std::replace_if(
      result.begin(), result.end(), [](char c) { return c < ' ' || c > '~'; }, '?');
  return result;
}

/// Applies `action` to every text of `values`, in the same order for both directions.
template <class Values, class Action>
void forEachText(Values& values, Action action) {
  for (auto* text : {&values.title, &values.artist, &values.album, &values.genre, &values.composer,
                     &values.albumArtist}) {
    action(*text);
  }
  for (auto& text : values.sort) action(text);
}

}  // namespace

std::string nameEndingOf(const std::string& path) {
  constexpr std::size_t kLongest = 16;
  const std::size_t dot = path.rfind('.');
  return dot == std::string::npos ? std::string() : path.substr(dot, kLongest);
}

std::string encodeRequests(const std::vector<FileRequest>& files) {
  MessageWriter writer;
  writer.number(static_cast<std::uint32_t>(files.size()));
  for (const FileRequest& file : files) {
    writer.number(file.id);
    writer.number(file.bytes);
    writer.bytes(file.ending);
    writer.number(file.isAskedFor);
    writer.number(static_cast<std::uint8_t>(file.goal));
  }
  return std::move(writer.message);
}

std::optional<std::vector<FileRequest>> decodeRequests(std::string_view message) {
  MessageParser parser(message);
  const std::size_t count = parser.number<std::uint32_t>();
  if (count > kMostFiles) return std::nullopt;
  std::vector<FileRequest> files(count);
  for (FileRequest& file : files) {
    file.id = parser.number<std::uint32_t>();
    file.bytes = parser.number<std::int64_t>();
    file.ending = std::string(parser.bytes());
    file.isAskedFor = parser.number<std::uint8_t>() != 0;
    const bool isPicture = parser.number<std::uint8_t>() != 0;
    file.goal = isPicture ? ReadingGoal::Picture : ReadingGoal::Tags;
  }
  if (!parser.isDone()) return std::nullopt;
  return files;
}

std::string encodeQuestion(const ByteRange& range) {
  MessageWriter writer;
  writer.number(kQuestion);
  writer.number(range.start);
  writer.number(range.length);
  return std::move(writer.message);
}

std::optional<ByteRange> decodeQuestion(std::string_view message) {
  MessageParser parser(message);
  const bool isQuestion = parser.number<char>() == kQuestion;
  const auto start = parser.number<std::int64_t>();
  const auto length = parser.number<std::int64_t>();
  const bool isSound = start >= 0 && length >= 0 && length <= kMostAskedBytes;
  if (!isQuestion || !parser.isDone() || !isSound) return std::nullopt;
  return ByteRange{start, length};
}

std::string encodeAnswer(std::int64_t count) {
  MessageWriter writer;
  writer.number(count);
  return std::move(writer.message);
}

std::optional<std::int64_t> decodeAnswer(std::string_view message) {
  MessageParser parser(message);
  const auto count = parser.number<std::int64_t>();
  if (!parser.isDone()) return std::nullopt;
  return count;
}

std::string encodeResult(std::uint32_t id, const TagResult& result, ReadingGoal goal) {
  MessageWriter writer;
  writer.number(id);
  writer.number(static_cast<std::uint8_t>(result.outcome));
  if (goal == ReadingGoal::Picture) {
    writer.number(result.picture.isRefused);
    writer.bytes(result.picture.bytes);
    return std::move(writer.message);
  }
  writer.number(std::uint32_t{result.values.track});
  writer.number(std::int32_t{result.values.disc});
  writer.number(std::uint32_t{result.values.year});
  writer.number(std::uint32_t{result.values.milliseconds});
  writer.number(result.values.hasPicture);
  forEachText(result.values, [&](const TagLib::String& text) { write(writer, text); });
  return std::move(writer.message);
}

std::string encodeError(std::uint32_t id, std::string_view error) {
  MessageWriter writer;
  writer.number(id);
  writer.number(kThrown);
  writer.bytes(error.substr(0, kMostErrorBytes));
  return std::move(writer.message);
}

std::optional<Result> decodeResult(std::string_view message, ReadingGoal goal) {
  MessageParser parser(message);
  Result decoded;
  decoded.id = parser.number<std::uint32_t>();
  const auto outcome = parser.number<std::uint8_t>();
  if (outcome == kThrown) {
    decoded.error = printable(parser.bytes());
    if (decoded.error->size() > kMostErrorBytes) return std::nullopt;
  } else if (outcome > kLastOutcome) {
    return std::nullopt;
  } else if (goal == ReadingGoal::Picture) {
    decoded.result.outcome = static_cast<TagResult::Outcome>(outcome);
    decoded.result.picture = parsePicture(parser);
  } else {
    decoded.result.outcome = static_cast<TagResult::Outcome>(outcome);
    decoded.result.values.track = parser.number<std::uint32_t>();
    decoded.result.values.disc = std::max(0, parser.number<std::int32_t>());
    decoded.result.values.year = std::min(parser.number<std::uint32_t>(), TagValues::kLastYear);
    decoded.result.values.milliseconds = parser.number<std::uint32_t>() & INT32_MAX;
    decoded.result.values.hasPicture = parser.number<std::uint8_t>() != 0;
    forEachText(decoded.result.values, [&](TagLib::String& text) { text = parseText(parser); });
  }
  if (!parser.isDone()) return std::nullopt;
  return decoded;
}

}  // namespace orvel::tagMessages
