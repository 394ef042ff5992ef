#include "tools/maps/MapLayout.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <stdexcept>

namespace brio::tools {
namespace {

using arrays::BoardPlace;

constexpr double kWidth = 1140;  // points that a picture is wide, about
constexpr int kCellsOfModule = 32;

Tick At(int cell, int number) { return {cell + 0.5, std::to_string(number)}; }

/// Diblocks side by side, a DCM a line, a port a column.
class ReadoutLayout {
public:
  explicit ReadoutLayout(const std::vector<BoardPlace>& places) {
    for (const auto& place : places) {
      auto& size = sizes_[place.diblock];
      size.dcms = std::max(size.dcms, int{place.dcm});
      size.ports = std::max(size.ports, place.port + 1);
    }
    const int count = static_cast<int>(sizes_.size());
    constexpr int kFewDiBlocks = 4;
    across_ = count <= kFewDiBlocks ? std::min(count, 2) : 3;
  }

  MapLayout Make(const std::vector<BoardPlace>& places) {
    layout_.view = View::Readout;
    const bool isLarge = across_ < 3;
    layout_.cellHeight = isLarge ? 16 : 10;
    int column = 0;
    int row = 0;
    int height = 0;
    int inLine = 0;
    for (const auto& [diblock, size] : sizes_) {
      if (inLine == across_) {
        row += height + (isLarge ? 4 : 7);
        column = height = inLine = 0;
      }
      Add(diblock, column, row, size);
      column += size.ports;
      layout_.columns = std::max(layout_.columns, column);
      column += isLarge ? kGap / 2 : kGap;
      height = std::max(height, size.dcms);
      ++inLine;
    }
    layout_.rows = row + height;
    layout_.cellWidth = std::max(1.0, std::floor(2 * kWidth / std::max(layout_.columns, 1)) / 2);
    std::map<int, const MapPanel*> panels;
    for (const auto& panel : layout_.panels) {
      panels[panel.diblock] = &panel;
    }
    for (const auto& place : places) {
      const auto& panel = *panels.at(place.diblock);
      layout_.boards.push_back({panel.column + place.port, panel.row + place.dcm - 1});
    }
    return std::move(layout_);
  }

private:
  struct Size {
    int dcms = 0;
    int ports = 0;
  };
  static constexpr int kGap = 12;  // columns between diblocks

  void Add(int diblock, int column, int row, const Size& size) {
    MapPanel panel;
    panel.heading = "diblock " + std::to_string(diblock);
    panel.diblock = diblock;
    panel.column = column;
    panel.row = row;
    panel.columns = size.ports;
    panel.rows = size.dcms;
    panel.xTitle = "port";
    panel.yTitle = "DCM";
    // The last port has a label; one that would touch it has none.
    constexpr int kEvery = 16;
    for (int port = 0; port + kEvery / 4 < size.ports; port += kEvery) {
      panel.xTicks.push_back(At(port, port));
    }
    panel.xTicks.push_back(At(size.ports - 1, size.ports - 1));
    for (int dcm = 1; dcm <= size.dcms; dcm += size.dcms > 6 ? 2 : 1) {
      panel.yTicks.push_back(At(dcm - 1, dcm));
    }
    layout_.panels.push_back(std::move(panel));
  }

  std::map<int, Size> sizes_;
  int across_ = 1;
  MapLayout layout_;
};

/// One view below the other, a plane a column, a module a line, the lowest cells at the bottom.
class GeometryLayout {
public:
  explicit GeometryLayout(const std::vector<BoardPlace>& places) {
    for (const auto& place : places) {
      planes_ = std::max(planes_, place.plane + 1);
      modules_ = std::max(modules_, place.module + 1);
      diblockOf_[place.plane] = place.diblock;
    }
  }

  MapLayout Make(const std::vector<BoardPlace>& places, double stretch) {
    constexpr double kGap = 84;  // points between the views, about
    layout_.view = View::Geometry;
    layout_.columns = std::max((planes_ + 1) / 2, 1);
    layout_.cellWidth = std::max(1.0, std::floor(2 * kWidth / layout_.columns) / 2);
    layout_.cellHeight = stretch * (modules_ <= 4 ? 48 : 17);
    const int gap = static_cast<int>(std::ceil(kGap / layout_.cellHeight));
    for (const int view : {0, 1}) {
      Add(view, view * (modules_ + gap));
    }
    layout_.rows = 2 * modules_ + gap;
    for (const auto& place : places) {
      const auto& panel = layout_.panels[place.plane % 2];
      layout_.boards.push_back({place.plane / 2, panel.row + modules_ - 1 - place.module});
    }
    return std::move(layout_);
  }

private:
  void Add(int view, int row) {
    MapPanel panel;
    panel.heading = std::string("view ") + ViewOfPlane(view) + (view == 0 ? ", even planes" : ", odd planes");
    panel.row = row;
    panel.columns = layout_.columns;
    panel.rows = modules_;
    panel.xTitle = "plane";
    panel.yTitle = "cell";
    int first = view;
    int diblock = 0;
    const auto endGroup = [&](int end) {
      if (diblock == 0) { return; }
      const int left = first / 2;
      const int right = end / 2;
      panel.groups.push_back({(left + right) / 2.0, std::to_string(diblock)});
      panel.xTicks.push_back(At(left, first));
      if (left > 0) { panel.xDividers.push_back(left); }
    };
    int last = view;
    for (const auto& [plane, number] : diblockOf_) {
      if (plane % 2 != view) { continue; }
      if (number != diblock) {
        endGroup(plane);
        first = plane;
        diblock = number;
      }
      last = plane;
    }
    endGroup(last + 2);
    const int every = modules_ > 6 ? 3 : 1;
    for (int module = 0; module <= modules_; module += every) {
      panel.yTicks.push_back(
          {static_cast<double>(modules_ - module), std::to_string(module * kCellsOfModule)});
    }
    layout_.panels.push_back(std::move(panel));
  }

  int planes_ = 0;
  int modules_ = 0;
  std::map<int, int> diblockOf_;
  MapLayout layout_;
};

}  // namespace

const std::vector<std::string>& ViewNames() {
  static const std::vector<std::string> kNames{"readout", "geometry"};
  return kNames;
}

View ViewNamed(const std::string& name) {
  const auto& names = ViewNames();
  const auto found = std::find(names.begin(), names.end(), name);
  if (found == names.end()) { throw std::out_of_range("there is no view \"" + name + "\""); }
  return static_cast<View>(found - names.begin());
}

char ViewOfPlane(int plane) { return plane % 2 == 0 ? 'X' : 'Y'; }

MapLayout LayoutOf(const std::vector<BoardPlace>& places, View view, double stretch) {
  return view == View::Readout ? ReadoutLayout(places).Make(places)
                               : GeometryLayout(places).Make(places, stretch);
}

}  // namespace brio::tools
