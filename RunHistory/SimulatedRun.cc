#include "RunHistory/RunHistory.h"

namespace brio::dbi {

using briodaq::cnv::DetInfo;

namespace {

constexpr int kSimulatedSubruns = 64;
constexpr unsigned int kPortsPerDCM = 64;

/// Boards of a DCM in the perfect near detector.
unsigned int NearBoards(int diblock, unsigned int dcm) {
  if (diblock == 4) { return dcm == 1 ? 31 : 22; }
  return dcm == 1 || dcm == 4 ? 32 : 64;
}

}  // namespace

/// A perfect detector, less the diblocks that are not good.
void RunHistory::BuildMC() {
  const bool isNear = DetInfo::GetId(detectorName) == briodaq::cnv::Alder;
  const int nDiBlocks = isNear ? 4 : 14;
  for (int d = 1; d <= nDiBlocks; ++d) {
    if (!IsGoodDiBlock(d)) { continue; }
    const unsigned int nDCMsHere = !isNear ? 12 : d == 4 ? 2 : 4;
    DiBlock diblock(nDCMsHere);
    diblock.number = static_cast<std::uint16_t>(d);
    diblock.isActive = false;
    for (unsigned int c = 1; c <= nDCMsHere; ++c) {
      DCM& dcm = diblock.dcms[c - 1];
      dcm.isActive = true;
      dcm.diBlock = diblock.number;
      dcm.febs.resize(isNear ? NearBoards(d, c) : kPortsPerDCM);
      dcm.nInstrumentedFEBs = static_cast<std::int32_t>(dcm.febs.size());
      diblock.nInstrumentedFEBs += dcm.nInstrumentedFEBs;
    }
    diBlocks.push_back(std::move(diblock));
  }
  daqRunHistoryLoaded = true;
  pixelInfoLoaded = true;
  hardwareLoaded = true;
  apdSettingsLoaded = true;
  coolingLoaded = true;
  potLoaded = true;
  nSubruns = kSimulatedSubruns;
}

}  // namespace brio::dbi
