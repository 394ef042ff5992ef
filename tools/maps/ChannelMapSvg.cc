#include <array>
#include <cmath>
#include <map>

#include "tools/maps/ChannelMap.h"
#include "tools/maps/IndexedImage.h"
#include "tools/maps/MapLegend.h"
#include "tools/maps/MapPicture.h"
#include "tools/maps/PictureFile.h"
#include "tools/shared/SvgElements.h"

namespace brio::tools {
namespace {

using arrays::kPixels;
using arrays::Status;
using svg::Number;

/// One image a view, and below it, seen where the image lets it through, why channels have no value.
class ChannelDots {
public:
  ChannelDots(const BoardMap& map, const MapStyle& style, const MapLayout& layout, const ColorScale& scale)
      : map_(map), style_(style), layout_(layout), scale_(scale) {
    for (const auto& panel : layout.panels) {
      images_.emplace_back(panel.columns, panel.rows * kPixels);
    }
    for (std::size_t board = 0; board < layout.boards.size(); ++board) {
      AddBoard(board);
    }
    for (const auto& [row, run] : runs_) {
      Finish(row, run);
    }
  }

  std::string Draw() const {
    std::string text = "<g class=\"channels\">\n";
    for (const auto& [status, path] : withoutValue_) {
      text += "<path class=\"" + ClassOf(status) + "\" fill=\"" + FillOf(status, style_.ids) + "\" d=\"" +
              path + "\"/>\n";
    }
    for (std::size_t i = 0; i < images_.size(); ++i) {
      const auto& panel = layout_.panels[i];
      text += "<image x=\"0\" y=\"" + Number(panel.row * layout_.cellHeight) + "\" width=\"" +
              Number(panel.columns * layout_.cellWidth) + "\" height=\"" +
              Number(panel.rows * layout_.cellHeight) +
              "\" preserveAspectRatio=\"none\" image-rendering=\"pixelated\" "
              "href=\"data:image/png;base64," +
              Base64(PngOf(images_[i])) + "\"/>\n";
    }
    return text + "</g>\n";
  }

private:
  std::string PngOf(const IndexedImage& image) const {
    if (!style_.isForRenderer) { return image.Png(); }
    const double width = kRenderedZoom * layout_.cellWidth;
    const double height = kRenderedZoom * layout_.cellHeight / kPixels;
    return image.Png(static_cast<int>(std::ceil(width)), static_cast<int>(std::ceil(height)));
  }

  /// Neighbouring boards none of whose channels has a value, for the same reason.
  struct Run {
    int column = 0;
    int boards = 0;
    Status status = Status::Known;
  };

  void AddBoard(std::size_t board) {
    const auto first = board * kPixels;
    const Status status = map_.boards[first].status;
    bool isSame = status != Status::Known;
    for (std::size_t i = first; i < first + kPixels; ++i) {
      isSame = isSame && map_.boards[i].status == status;
    }
    if (!isSame) {
      AddChannels(board);
      return;
    }
    const MapCell& cell = layout_.boards[board];
    Run& run = runs_[cell.row];
    if (run.boards > 0 && run.status == status && run.column + run.boards == cell.column) {
      ++run.boards;
      return;
    }
    Finish(cell.row, run);
    run = {cell.column, 1, status};
  }

  void Finish(int row, const Run& run) {
    if (run.boards == 0) { return; }
    AddRectangle(run.status, run.column, run.boards, row * layout_.cellHeight, layout_.cellHeight);
  }

  void AddChannels(std::size_t board) {
    const MapCell& cell = layout_.boards[board];
    const auto panel = static_cast<std::size_t>(map_.boards[board * kPixels].place.plane % 2U);
    const int top = (cell.row - layout_.panels[panel].row) * kPixels;
    // Cells are counted upwards.
    std::array<const MapBoard*, kPixels> downwards{};
    for (std::size_t i = board * kPixels; i < (board + 1) * kPixels; ++i) {
      downwards.at(kPixels - 1U - map_.boards[i].cell % kPixels) = &map_.boards[i];
    }
    const double dot = layout_.cellHeight / kPixels;
    for (int line = 0; line < kPixels; ++line) {
      const MapBoard& channel = *downwards.at(static_cast<std::size_t>(line));
      if (channel.IsGood()) {
        IndexedImage& image = images_[panel];
        image.Set(cell.column, top + line, image.NumberOf(ColorOfChannel(channel)));
      } else {
        AddRectangle(channel.status, cell.column, 1, cell.row * layout_.cellHeight + line * dot, dot);
      }
    }
  }

  std::string ColorOfChannel(const MapBoard& channel) const {
    if (map_.IsYesNo()) { return YesNoColor(map_, channel); }
    if (scale_.Contains(channel.value)) { return scale_.Color(channel.value); }
    return channel.value > scale_.high ? kAboveColor : kBelowColor;
  }

  void AddRectangle(Status status, int column, int columns, double y, double height) {
    const std::string width = Number(columns * layout_.cellWidth);
    withoutValue_[status] += "M" + Number(column * layout_.cellWidth) + ' ' + Number(y) + 'h' + width + 'v' +
                             Number(height) + "h-" + width + 'z';
  }

  const BoardMap& map_;
  const MapStyle& style_;
  const MapLayout& layout_;
  const ColorScale& scale_;
  std::vector<IndexedImage> images_;
  std::map<Status, std::string> withoutValue_;
  std::map<int, Run> runs_;
};

}  // namespace

std::string ChannelSvgForm(const BoardMap& map, const MapStyle& style) {
  std::vector<arrays::BoardPlace> places;
  for (std::size_t i = 0; i < map.boards.size(); i += kPixels) {
    places.push_back(map.boards[i].place);
  }
  constexpr double kDots = 1.5;  // each line of boards has 32
  const MapLayout layout = LayoutOf(places, View::Geometry, kDots);
  const ColorScale scale = ScaleOf(map, style.scale);
  return PictureOf(map, style, layout, scale, ChannelDots(map, style, layout, scale).Draw());
}

}  // namespace brio::tools
