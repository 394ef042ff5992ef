#include "arrays/Records.h"

#include <array>
#include <charconv>
#include <cmath>
#include <cstring>
#include <ostream>

namespace brio::arrays {
namespace {

constexpr std::size_t kFullBuffer = 1 << 16;

template <class Number>
std::string ShortestText(Number value) {
  std::array<char, 64> text{};
  return {text.data(), std::to_chars(text.data(), text.data() + text.size(), value).ptr};
}

/// How many bytes a UTF-8 character has that begins with a byte; 0 when none does.
std::size_t LengthFrom(unsigned int first) {
  if (first < 0x80) { return 1; }
  if (first >= 0xC2 && first <= 0xDF) { return 2; }
  if (first >> 4U == 14) { return 3; }
  return first >= 0xF0 && first <= 0xF4 ? 4 : 0;
}

/// Whether the second byte fits the first: no forms longer than need be, no surrogates, nothing beyond the
/// last character.
bool IsSecond(unsigned int first, unsigned int second) {
  switch (first) {
    case 0xE0: return second >= 0xA0;
    case 0xED: return second <= 0x9F;
    case 0xF0: return second >= 0x90;
    case 0xF4: return second <= 0x8F;
    default: return true;
  }
}

/// How many bytes of a text are its next UTF-8 character; 0 when they are none.
std::size_t CharacterLength(const unsigned char* text, std::size_t length) {
  const std::size_t wanted = LengthFrom(text[0]);
  if (wanted > length || (wanted > 1 && !IsSecond(text[0], text[1]))) { return 0; }
  for (std::size_t i = 1; i < wanted; ++i) {
    if (text[i] >> 6U != 2) { return 0; }
  }
  return wanted;
}

bool IsDigits(const std::string& text, std::size_t from, std::size_t count) {
  for (std::size_t i = from; i < from + count; ++i) {
    if (text[i] < '0' || text[i] > '9') { return false; }
  }
  return true;
}

}  // namespace

std::string Shortest(float value) { return ShortestText(value); }
std::string Shortest(double value) { return ShortestText(value); }

std::string WithZone(const std::string& time) {
  constexpr std::size_t kLength = 19;  // 2014-06-10 03:00:00
  if (time.size() < kLength || time[4] != '-' || time[7] != '-' || (time[10] != ' ' && time[10] != 'T') ||
      time[13] != ':' || time[16] != ':') {
    return time;
  }
  for (const std::size_t at : {5U, 8U, 11U, 14U, 17U}) {
    if (!IsDigits(time, at, 2)) { return time; }
  }
  if (!IsDigits(time, 0, 4)) { return time; }
  std::string rest = time.substr(kLength);
  if (rest.size() > 3 && rest.compare(rest.size() - 3, 3, "+00") == 0) { rest.erase(rest.size() - 3); }
  if (rest == "+00") { rest.clear(); }
  if (!rest.empty() && (rest[0] != '.' || !IsDigits(rest, 1, rest.size() - 1))) { return time; }
  return time.substr(0, 10) + 'T' + time.substr(11, 8) + rest + 'Z';
}

RecordWriter::RecordWriter(std::ostream& stream, Form form) : stream_(stream), form_(form) {
  buffer_.reserve(2 * kFullBuffer);
  if (form_ == Form::JSON) { buffer_ += '['; }
}

void RecordWriter::BeginNames() {
  namesOnly_ = true;
  isFirstField_ = true;
}

void RecordWriter::EndNames() {
  if (form_ == Form::CSV) { buffer_ += '\n'; }
  namesOnly_ = false;
}

void RecordWriter::Begin() {
  isFirstField_ = true;
  if (form_ == Form::JSON) { buffer_ += isFirstRecord_ ? "\n" : ",\n"; }
  if (form_ != Form::CSV) { buffer_ += '{'; }
  isFirstRecord_ = false;
}

void RecordWriter::End() {
  if (form_ != Form::CSV) { buffer_ += '}'; }
  if (form_ != Form::JSON) { buffer_ += '\n'; }
  if (buffer_.size() < kFullBuffer) { return; }
  stream_.write(buffer_.data(), static_cast<std::streamsize>(buffer_.size()));
  buffer_.clear();
}

void RecordWriter::Finish() {
  if (form_ == Form::JSON) { buffer_ += isFirstRecord_ ? "]\n" : "\n]\n"; }
  stream_.write(buffer_.data(), static_cast<std::streamsize>(buffer_.size()));
  buffer_.clear();
}

void RecordWriter::Name(const char* name) {
  if (form_ == Form::CSV) {
    if (!isFirstField_) { buffer_ += ','; }
    if (namesOnly_) { buffer_ += name; }
  } else if (!namesOnly_) {
    buffer_ += isFirstField_ ? "\"" : ",\"";
    buffer_ += name;
    buffer_ += "\":";
  }
  isFirstField_ = false;
}

template <class Number>
void RecordWriter::AddNumber(const char* name, Number value) {
  Name(name);
  if (namesOnly_) { return; }
  std::array<char, 64> text{};
  buffer_.append(text.data(), std::to_chars(text.data(), text.data() + text.size(), value).ptr);
}

void RecordWriter::Add(const char* name, int value) { AddNumber(name, value); }
void RecordWriter::Add(const char* name, std::uint32_t value) { AddNumber(name, value); }
void RecordWriter::Add(const char* name, long long value) { AddNumber(name, value); }
void RecordWriter::Add(const char* name, float value) {
  if (std::isfinite(value)) {
    AddNumber(name, value);
  } else {
    AddNothing(name);
  }
}
void RecordWriter::Add(const char* name, double value) {
  if (std::isfinite(value)) {
    AddNumber(name, value);
  } else {
    AddNothing(name);
  }
}

void RecordWriter::AddNothing(const char* name) {
  Name(name);
  if (!namesOnly_ && form_ != Form::CSV) { buffer_ += "null"; }
}

void RecordWriter::Add(const char* name, bool value) {
  Name(name);
  if (!namesOnly_) { buffer_ += form_ == Form::CSV ? (value ? "yes" : "no") : (value ? "true" : "false"); }
}

void RecordWriter::Add(const char* name, const char* value) { AddText(name, value, std::strlen(value)); }
void RecordWriter::Add(const char* name, const std::string& value) {
  AddText(name, value.data(), value.size());
}

void RecordWriter::AddText(const char* name, const char* text, std::size_t length) {
  Name(name);
  if (namesOnly_) { return; }
  if (form_ == Form::CSV) {
    AddCsvText(text, length);
  } else {
    AddJsonText(text, length);
  }
}

void RecordWriter::AddCsvText(const char* text, std::size_t length) {
  bool needsQuotes = false;
  for (std::size_t i = 0; i < length; ++i) {
    needsQuotes = needsQuotes || std::strchr(",\"\r\n", text[i]) != nullptr;
  }
  if (!needsQuotes) {
    buffer_.append(text, length);
    return;
  }
  buffer_ += '"';
  for (std::size_t i = 0; i < length; ++i) {
    if (text[i] == '"') { buffer_ += '"'; }
    buffer_ += text[i];
  }
  buffer_ += '"';
}

void RecordWriter::AddJsonText(const char* text, std::size_t length) {
  buffer_ += '"';
  for (std::size_t i = 0; i < length;) {
    const auto byte = static_cast<unsigned char>(text[i]);
    if (byte == '"' || byte == '\\') {
      buffer_ += '\\';
      buffer_ += text[i++];
    } else if (byte < 0x20) {
      constexpr const char* kDigits = "0123456789abcdef";
      buffer_ += "\\u00";
      buffer_ += kDigits[byte >> 4U];
      buffer_ += kDigits[byte & 15U];
      ++i;
    } else {
      // A char may be looked at as an unsigned char.
      const std::size_t count = CharacterLength(reinterpret_cast<const unsigned char*>(text + i), length - i);
      if (count == 0) {
        buffer_ += "\xEF\xBF\xBD";
        ++i;
      } else {
        buffer_.append(text + i, count);
        i += count;
      }
    }
  }
  buffer_ += '"';
}

}  // namespace brio::arrays
