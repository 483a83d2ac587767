#include "qel/event_text.h"

#include <boost/algorithm/string/trim.hpp>
#include <boost/format.hpp>
#include <ctime>
#include <string_view>

#include "escapes.h"
#include "field_values.h"
#include "qel/enums/enum_names.h"
#include "qel/tools/date_strings.h"
#include "qel/tools/system_error.h"
#include "text_conversion.h"

namespace qel::tools {
namespace {

constexpr const char* kCorrupted = "<CORRUPTED>";
constexpr const char* kLongJsonPattern = "\"%1%\": \"%2%...<Cut out %3% bytes>...%4%\"";
// A FileName of this many escaped bytes or more is cut to its first and last bytes.
constexpr size_t kLongValue = 2007;
constexpr size_t kLongHead = 1004;
constexpr size_t kLongTail = 1003;

struct Shape {
  const char* pattern;
  std::string_view separator;
  const char* opening;
  const char* closing;
};

Shape ShapeOf(uint32_t format) {
  switch (format) {
    case kEventTextLines:
      return {"%1%=%2%", "\n", "", "\n"};
    case kEventTextJson:
      return {"\"%1%\": \"%2%\"", ",", "{", "}"};
    case kEventTextOneLine:
      return {"%1%=%2%", " ", "", ""};
    default:
      return {"", std::string_view("\0", 1), "", ""};
  }
}

template <class... Args>
void Write(std::ostream& stream, const char* pattern, const Args&... args) {
  if (!*pattern) {
    return;
  }
  boost::format format(pattern);
  (format % ... % args);
  stream << format;
}

std::string NameOrCorrupted(uint32_t index, uint32_t value) {
  const char* name = enums::FindEnumeration(index)->FindName(value);
  return name ? name : kCorrupted;
}

// The header's free texts are escaped as the values of fields are, so that a user name cannot
// break the shape.
std::string EscapeHeaderValue(uint32_t format, std::string_view text) {
  switch (format) {
    case kEventTextJson:
      return JsonEscape(text);
    case kEventTextOneLine:
      return OneLineEscape(text);
    default:
      return std::string(text);
  }
}

std::string FormatRecordDate(int64_t date) {
  const time_t seconds = static_cast<time_t>(date);
  std::tm local{};
  if (!localtime_r(&seconds, &local)) {
    ThrowSystemError("::localtime_r", __FILE__, __LINE__);
  }
  return FormatDate(local, kDateFormat);
}

// The length of the escaped token at the start of `text`: an escape, a character or a byte.
size_t TokenLength(std::string_view text) {
  if (text[0] == '\\' && text.size() > 1) {
    return text[1] == 'u' ? 6 : 2;
  }
  const size_t length = Utf8SequenceLength(text);
  return length ? length : 1;
}

// Cuts an escaped JSON value to its first and last bytes for the long pattern. A token split by a
// cut would break the JSON text, so its pieces become '?': the byte counts stay.
void WriteLongJson(std::ostream& stream, const std::string& key, const std::string& escaped) {
  const size_t tailStart = escaped.size() - kLongTail;
  size_t headEnd = 0;
  size_t tokenStart = 0;
  while (tokenStart < tailStart) {
    const size_t next = tokenStart + TokenLength(std::string_view(escaped).substr(tokenStart));
    if (next <= kLongHead) {
      headEnd = next;
    }
    tokenStart = next;
  }
  std::string head = escaped.substr(0, headEnd) + std::string(kLongHead - headEnd, '?');
  std::string tail = std::string(tokenStart - tailStart, '?') + escaped.substr(tokenStart);
  // The count says one byte more than is left out; readers of these texts expect it so.
  const size_t count = escaped.size() - (kLongHead + kLongTail) + 1;
  Write(stream, kLongJsonPattern, key, head, count, tail);
}

// The Settings field in JSON: its ini text as prefixed pairs.
void WriteSettingsJson(std::ostream& stream, const Shape& shape, const std::string& text) {
  std::string prefix;
  bool first = true;
  size_t start = 0;
  while (start <= text.size()) {
    size_t end = text.find('\n', start);
    if (end == std::string::npos) {
      end = text.size();
    }
    std::string line = boost::algorithm::trim_copy(text.substr(start, end - start));
    start = end + 1;
    if (line.size() >= 2 && line.front() == '[' && line.back() == ']') {
      prefix = line.substr(1, line.size() - 2) + ".";
      continue;
    }
    const size_t equals = line.find('=');
    if (equals == std::string::npos) {
      continue;  // neither a section nor a pair
    }
    if (!first) {
      stream << shape.separator;
    }
    first = false;
    const std::string key = boost::algorithm::trim_copy(line.substr(0, equals));
    const std::string value = boost::algorithm::trim_copy(line.substr(equals + 1));
    Write(stream, shape.pattern, JsonEscape(prefix + key), JsonEscape(value));
  }
  if (first) {
    // No pair at all: an empty value keeps the object whole after the separator written.
    Write(stream, shape.pattern, "Settings", "");
  }
}

void WriteField(std::ostream& stream, uint32_t format, const Shape& shape,
                const AdditionalField& field) {
  const uint32_t name = field.name;
  const char* keyName =
      enums::FindEnumeration(enums::EnumInfo<AdditionalName::Type>::kIndex)->FindName(name);
  const std::string key = keyName ? keyName : std::to_string(name);
  std::string value = kCorrupted;
  try {
    value = FieldValueText(name, field.data);
  } catch (...) {
    // A value that cannot be shown does not stop the text.
  }
  if (format == kEventTextOneLine) {
    Write(stream, shape.pattern, key, OneLineEscape(value));
    return;
  }
  if (name == AdditionalName::Settings) {
    if (format == kEventTextJson) {
      WriteSettingsJson(stream, shape, value);
    } else {
      stream << value;
    }
    return;
  }
  if (format == kEventTextJson) {
    value = JsonEscape(value);
    if (name == AdditionalName::FileName && value.size() >= kLongValue) {
      WriteLongJson(stream, key, value);
      return;
    }
  } else if (name == AdditionalName::Path || name == AdditionalName::FileName ||
             name == AdditionalName::ModuleName || name == AdditionalName::UpdateSource) {
    value = ControlEscape(value);
  }
  Write(stream, shape.pattern, key, value);
}

}  // namespace

void EventToText(const Event& record, uint32_t format, std::ostream& stream) {
  const Shape shape = ShapeOf(format);
  stream << shape.opening;
  Write(stream, shape.pattern, "EventType",
        NameOrCorrupted(enums::EnumInfo<EventName::Type>::kIndex, record.eventType));
  stream << shape.separator;
  Write(stream, shape.pattern, "EventId", record.eventId);
  stream << shape.separator;
  Write(stream, shape.pattern, "Initiator",
        NameOrCorrupted(enums::EnumInfo<Initiator::Type>::kIndex, record.initiator));
  if (record.initiator == Initiator::User && record.user) {
    stream << shape.separator;
    Write(stream, shape.pattern, "UserName",
          EscapeHeaderValue(format, orv::Utf16ToUtf8(record.user->name.view())));
    stream << shape.separator;
    Write(stream, shape.pattern, "UserId", record.user->uid);
  }
  stream << shape.separator;
  Write(stream, shape.pattern, "Date", FormatRecordDate(record.date));
  stream << shape.separator;
  Write(stream, shape.pattern, "DangerLevel",
        NameOrCorrupted(enums::EnumInfo<DangerLevel::Type>::kIndex, record.dangerLevel));
  for (const AdditionalField& field : record.additionalFields) {
    stream << shape.separator;
    WriteField(stream, format, shape, field);
  }
  stream << shape.closing;
}

}  // namespace qel::tools
