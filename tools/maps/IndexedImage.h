#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "tools/maps/Palette.h"

namespace brio::tools {

/// A small picture of up to 256 colours, of which number 0 lets through what is behind it.
class IndexedImage {
public:
  IndexedImage(int width, int height);

  /// The number of a colour "#rrggbb", which is taken in when it is new. \throws std::length_error for the
  /// 256th
  std::uint8_t NumberOf(const std::string& color);
  void Set(int x, int y, std::uint8_t number) {
    pixels_[static_cast<std::size_t>(y) * static_cast<std::size_t>(width_) + static_cast<std::size_t>(x)] =
        number;
  }

  /// As a PNG file, in which each dot is so many pixels wide and high; its data are not compressed.
  std::string Png(int timesWide = 1, int timesHigh = 1) const;

private:
  int width_;
  int height_;
  std::vector<std::string> colors_;
  std::vector<std::uint8_t> pixels_;
};

/// Bytes as text of 64 characters, as pictures inside of pictures have them.
std::string Base64(const std::string& bytes);

}  // namespace brio::tools
