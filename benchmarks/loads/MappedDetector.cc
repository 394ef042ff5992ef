#include "benchmarks/loads/MappedDetector.h"

#include <cmath>
#include <cstdlib>
#include <ctime>

namespace brio::benchmarks {

void MappedDetector::AddConcentrator(const std::string& name) {
  auto& dcms = diblocks[std::atoi(name.substr(6, 2).c_str())];
  dcms.resize(kDCMs);
  auto& dcm = Named(name);
  dcm.active = true;
  dcm.name = name;
  dcm.boards.resize(kPorts);
}

bool MappedDetector::Has(const std::string& name) const {
  const auto diblock = diblocks.find(std::atoi(name.substr(6, 2).c_str()));
  const auto dcm = static_cast<std::size_t>(std::atoi(name.substr(9, 2).c_str()) - 1);
  return diblock != diblocks.end() && dcm < diblock->second.size() && diblock->second[dcm].active;
}

Concentrator& MappedDetector::Named(const std::string& name) {
  const int diblock = std::atoi(name.substr(6, 2).c_str());
  const int dcm = std::atoi(name.substr(9, 2).c_str());
  return diblocks[diblock].at(static_cast<std::size_t>(dcm - 1));
}

void MappedDetector::MarkInstalled(int diblock, int dcm, int port, int block, int plane, int position) {
  const auto found = diblocks.find(diblock);
  if (found == diblocks.end()) { return; }
  auto& concentrator = found->second.at(static_cast<std::size_t>(dcm - 1));
  if (!concentrator.active) { return; }
  Board& board = concentrator.boards.at(static_cast<std::size_t>(port));
  if (board.installed) { return; }
  board.installed = true;
  board.block = block;
  board.plane = plane;
  board.position = position;
}

void MappedDetector::SetMasks(const std::string& name, std::uint64_t boards,
                              const std::vector<std::int32_t>& pixelMasks) {
  if (!Has(name)) { return; }
  auto& dcm = Named(name);
  for (std::size_t port = 0; port < kPorts; ++port) {
    if (((boards >> port) & 1U) == 0) { continue; }
    dcm.boards[port].enabled = true;
    dcm.boards[port].pixelMask = pixelMasks.at(port);
  }
}

void MappedDetector::SetThresholds(const std::string& name, const std::vector<std::int16_t>& thresholds) {
  if (!Has(name)) { return; }
  auto& dcm = Named(name);
  for (std::size_t port = 0; port < kPorts; ++port) {
    if (!dcm.boards[port].enabled) { continue; }
    const auto first = thresholds.begin() + static_cast<std::ptrdiff_t>(kPixels * port);
    dcm.boards[port].thresholds.assign(first, first + static_cast<std::ptrdiff_t>(kPixels));
  }
}

void MappedDetector::CarryTemperatures(const std::map<Place, bool>& recorded) {
  float last = -100.0F;
  for (auto& [number, dcms] : diblocks) {
    for (std::size_t dcm = 0; dcm < dcms.size(); ++dcm) {
      for (std::size_t port = 0; port < dcms[dcm].boards.size(); ++port) {
        Board& board = dcms[dcm].boards[port];
        if (recorded.count({number, static_cast<int>(dcm), static_cast<int>(port)}) == 0) {
          board.temperature = last;
        }
        last = board.temperature;
      }
    }
  }
}

void MappedDetector::AddAPD(const APD& apd) {
  const auto found = apds.find(apd.module);
  if (found == apds.end()) {
    apds[apd.module] = apd;
  } else if (apd.dateAdded > found->second.dateAdded) {
    found->second = apd;
  }
}

void MappedDetector::AddFEB(const FEB& feb) {
  if (febs.find(feb.module) == febs.end()) { febs[feb.module] = feb; }
}

void MappedDetector::Connect(int diblock, int dcm, int port, int module) {
  const auto feb = febs.find(module);
  if (feb == febs.end()) { return; }
  const auto apd = apds.find(module);
  hardware[{diblock, dcm, port}] = std::pair(feb->second, apd == apds.end() ? APD() : apd->second);
}

void MappedDetector::StoreGains() {
  for (const auto& [place, pair] : hardware) {
    const auto& [diblock, dcm, port] = place;
    const auto found = diblocks.find(diblock);
    if (found == diblocks.end()) { continue; }
    auto& concentrator = found->second.at(static_cast<std::size_t>(dcm - 1));
    if (!concentrator.active) { continue; }
    Board& board = concentrator.boards.at(static_cast<std::size_t>(port));
    if (!board.installed) { continue; }
    board.gains = pair.second.gains;
    float sum = 0.0F;
    for (const float gain : board.gains) {
      sum += gain;
    }
    board.averageGain = sum / static_cast<float>(kPixels);
    if (std::fabs(100.0 - static_cast<double>(board.averageGain)) > 10.0) {
      board.gains.assign(kPixels, 100.0F);
      board.averageGain = 100.0F;
    }
  }
}

Answers MappedDetector::GetAnswers() const {
  Answers answers;
  for (const auto& [number, dcms] : diblocks) {
    for (std::size_t dcm = 0; dcm < dcms.size(); ++dcm) {
      for (std::size_t port = 0; port < dcms[dcm].boards.size(); ++port) {
        const Board& b = dcms[dcm].boards[port];
        answers.AddBoard(PlaceOf(static_cast<std::size_t>(number), dcm + 1, port),
                         {b.installed, b.enabled, b.block, b.plane, b.position, b.pixelMask,
                          b.thresholds.empty() ? nullptr : b.thresholds.data(), b.temperatureEnabled,
                          b.temperature, b.voltage, b.gains.data(), b.averageGain});
      }
    }
  }
  for (const auto& [place, pair] : hardware) {
    const auto& [diblock, dcm, port] = place;
    const auto& [feb, apd] = pair;
    answers.AddHardware(PlaceOf(static_cast<std::size_t>(diblock), static_cast<std::size_t>(dcm),
                                static_cast<std::size_t>(port)),
                        {feb.item, feb.connection, feb.intercept, feb.slope, apd.item, apd.connection,
                         apd.batch, apd.targetDegC, apd.vr, apd.dateAdded});
  }
  return answers;
}

std::size_t PixelIn(const std::string& column, int row) {
  const int offset = column == "B" ? 1 : column == "C" ? 2 : column == "D" ? 3 : 0;
  return static_cast<std::size_t>(4 * (row - 1) + offset);
}

double SecondsIn(const std::string& date) {
  const auto piece = [&](std::size_t from, std::size_t length) {
    return std::atoi(date.substr(from, length).c_str());
  };
  std::tm time{};
  time.tm_year = piece(0, 4) - 1900;
  time.tm_mon = piece(5, 2) - 1;
  time.tm_mday = piece(8, 2);
  time.tm_hour = piece(12, 2);
  time.tm_min = piece(15, 2);
  time.tm_sec = piece(18, 2);
  return static_cast<double>(timegm(&time));
}

}  // namespace brio::benchmarks
