#include "tools/shared/ChannelAddress.h"

#include <algorithm>
#include <charconv>
#include <stdexcept>
#include <string>
#include <vector>

#include "experiment/DAQChannelMap.h"

namespace brio::tools {
namespace {

using daqchannelmap::DAQChannelMap;

bool ReadNumber(const std::string& text, unsigned int& number) {
  const bool isHexadecimal = text.rfind("0x", 0) == 0 || text.rfind("0X", 0) == 0;
  const char* const begin = text.data() + (isHexadecimal ? 2 : 0);
  const char* const end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(begin, end, number, isHexadecimal ? 16 : 10);
  return error == std::errc() && stop == end;
}

/// The numbers between separators; nothing when one is no number.
std::optional<std::vector<unsigned int>> ReadNumbers(const std::string& text, char separator) {
  std::vector<unsigned int> numbers;
  for (std::size_t from = 0;;) {
    const auto to = text.find(separator, from);
    unsigned int number = 0;
    if (!ReadNumber(text.substr(from, to - from), number)) { return std::nullopt; }
    numbers.push_back(number);
    if (to == std::string::npos) { return numbers; }
    from = to + 1;
  }
}

ChannelAddress Decoded(const DAQChannelMap& map, std::uint32_t channel) {
  ChannelAddress address{channel, map.getDiBlock(channel), map.getDCM(channel), map.getFEB(channel),
                         map.getPixel(channel)};
  const auto logical = map.getLogicalChannel(channel);
  address.exists = logical != DAQChannelMap::kNoChannel;
  address.plane = map.getPlane(logical);
  address.cell = map.getCell(logical);
  return address;
}

/// "dcm-2-02-01/1/17" and "dcm-2-02-01-1/17" as "2/1/1/17"; other texts as they are.
std::string WithoutName(const std::string& text, int detector, std::string& why) {
  const std::string prefix = "dcm-";
  if (text.rfind(prefix, 0) != 0) { return text; }
  const auto end = std::min(text.find('/'), text.size());
  const auto name = ReadNumbers(text.substr(prefix.size(), end - prefix.size()), '-');
  if (!name || name->size() < 3 || name->size() > 4) { return text; }
  if (name->front() != static_cast<unsigned int>(detector)) {
    why = "it is a DCM of detector number " + std::to_string(name->front());
    return text;
  }
  std::string place = std::to_string((*name)[1]) + '/' + std::to_string((*name)[2]);
  if (name->size() == 4) { place += '/' + std::to_string((*name)[3]); }
  return place + text.substr(end);
}

}  // namespace

std::optional<ChannelAddress> ParseChannel(const std::string& given, int detector, std::string& why) {
  const std::string text = WithoutName(given, detector, why);
  if (!why.empty()) { return std::nullopt; }
  const auto& map = *DAQChannelMap::getInstance(detector);
  try {
    if (const auto parts = ReadNumbers(text, '/'); parts && parts->size() == 4) {
      const auto& at = *parts;
      return Decoded(map, map.encodeDChan(detector, at[0], at[1], at[2], at[3]));
    }
    if (const auto parts = ReadNumbers(text, ','); parts && parts->size() == 2) {
      const auto channel = map.getDAQChannel(map.encodeLChan(detector, parts->front(), parts->back()));
      if (channel != DAQChannelMap::kNoChannel) { return Decoded(map, channel); }
      why = "the detector has no such plane or cell";
      return std::nullopt;
    }
    unsigned int channel = 0;
    if (ReadNumber(text, channel)) {
      if (map.getDetector(channel) == static_cast<unsigned int>(detector)) { return Decoded(map, channel); }
      why = "it is a channel of detector number " + std::to_string(map.getDetector(channel));
      return std::nullopt;
    }
  } catch (const std::out_of_range& error) {
    why = error.what();
    return std::nullopt;
  }
  why = "it is no DAQ channel id, no plane,cell and no diblock/DCM/port/pixel (or DCM name/port/pixel)";
  return std::nullopt;
}

}  // namespace brio::tools
