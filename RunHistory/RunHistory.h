#pragma once

#include <cstddef>
#include <cstdint>
#include <ctime>
#include <map>
#include <string>
#include <vector>

#include "RunHistory/BoardIndex.h"
#include "RunHistory/ChannelQuality.h"
#include "RunHistory/DQSubrunInfo.h"
#include "RunHistory/DetInfo.h"
#include "RunHistory/HardwareRecords.h"
#include "RunHistory/SettingsFacts.h"
#include "RunHistory/Subrun.h"
#include "database/PerformPGQuery.h"
#include "database/Table.h"
#include "database/Util.h"
#include "experiment/OfflineChan.h"
#include "framework/Export.h"

namespace daqchannelmap {
class DAQChannelMap;
}

namespace brio::dbi {

struct ChannelParts;
struct PlaceInIndex;
class OfflineBoards;
struct RunHistoryTestPeer;

/// One data-taking run of one detector: everything about it that lives outside the event data.
///
/// Construct it for a run and a detector and ask. Each group of facts is loaded from the databases by the
/// first question that needs it (within one read-only transaction) and answered from memory from then on. Run
/// numbers outside 10000 to 999999 are simulated runs: a perfect detector, for which DAQ, hardware,
/// configuration, slow-control and POT tables are not read.
///
/// A loader returns false, or throws where its comment says so, when its facts cannot be had; unless its
/// comment says otherwise it tries again at the next call. One that reads tables by their definition files
/// throws cet::exception "BrioDatabase" for a missing or broken one; std::bad_alloc passes through all.
/// Where the databases are is told in docs/operators.md. Loaders write progress lines to standard output,
/// warnings to standard error.
///
/// Threads: an object is used by one thread at a time. Different objects may be used on different threads
/// except for what loads APD settings (LoadAPDSettings, LoadAllDetInfo, GetFEB, GetGain, …), which shares
/// gLocToFA, and for the pixel and APD settings loaders, which set the environment variable
/// BRIODAQ_ENVIRONMENT.
class BRIO_EXPORT RunHistory {
public:
  /// One readout board and its APD, on one port of a DCM.
  struct FEB {
    std::string text;                      ///< not filled
    bool isInstalled = false;              ///< a module is installed on the port at the run's start
    std::uint16_t block = 0;               ///< of the installed module
    std::uint16_t plane = 0;               ///< of the installed module, within its block
    std::uint16_t modulePosition = 0;      ///< of the installed module, within its plane
    std::int32_t nEnabledPixels = 0;       ///< from the DAQ configuration
    std::int32_t pixelEnableMask = 0;      ///< bit k for pixel k, from the DAQ configuration
    std::vector<std::int16_t> thresholds;  ///< ADC counts by pixel; empty until loaded
    std::int32_t voltage = 0;              ///< APD bias, volts, from slow controls
    bool isEnabled = false;                ///< enabled by the DAQ configuration
    bool cooled = false;                   ///< not filled
    bool temperatureEnabled = false;       ///< temperature control on, from slow controls
    float temperature = -100.0F;           ///< degrees Celsius, from slow controls
    float avgGain = 0.0F;                  ///< mean of the pixel gains
    std::vector<float> pixelGains = std::vector<float>(32, 100.0F);  ///< by pixel 0..31
  };

  /// One data concentrator module.
  struct DCM {
    bool isActive = false;               ///< took part in the run
    std::uint16_t diBlock = 0xFFFF;      ///< the diblock that holds it
    std::uint16_t number = 0;            ///< within the diblock, from 1
    std::int32_t nInstrumentedFEBs = 0;  ///< ports with hardware
    std::string hostName;                ///< not filled
    std::string appName;                 ///< "dcm-d-DD-CC", from daqresourcesbyrun.appname
    std::uint64_t febEnableMask = 0;     ///< bit p for port p, from the DAQ configuration
    std::vector<FEB> febs;               ///< by port
  };

  /// One diblock with its DCMs by number - 1.
  struct DiBlock {
    /// A diblock of `nDCMs` inactive DCMs, numbered from 1.
    explicit DiBlock(unsigned int nDCMs);

    /// Set by the DAQ loader, cleared where the hardware loader finds hardware: while it is set, questions
    /// about the diblock's channels answer their defaults.
    bool isActive = false;
    std::uint16_t number = 0;            ///< from 1
    std::int32_t nInstrumentedFEBs = 0;  ///< ports with hardware
    std::vector<DCM> dcms;
  };

  /// One buffer-node event builder.
  struct BNEVB {
    std::string hostName;  ///< not filled
    std::string appName;   ///< from daqresourcesbyrun.appname
  };

  /// Run -1 of the unknown detector.
  RunHistory();
  /// \param detectorName  as in DetInfo; another name ends the process (see SetDetector)
  RunHistory(int run, std::string detectorName);
  RunHistory(int run, briodaq::cnv::DetId detector);
  RunHistory(int run, int detector) = delete;
  RunHistory(int run, std::nullptr_t detector) = delete;
  virtual ~RunHistory();
  RunHistory(const RunHistory&) = default;
  RunHistory& operator=(const RunHistory&) = default;
  /// What was moved from is as if it were made without arguments.
  RunHistory(RunHistory&& other) noexcept;
  RunHistory& operator=(RunHistory&& other) noexcept;

  // --- what the object describes, and how it loads ---

  /// Another run than before empties the caches first; the same one keeps them.
  void SetRunNumber(int run);
  /// Another detector than before empties the caches, even if its number is then refused. A number or name
  /// that no detector has (0 is accepted as a number) is fatal: a line on standard error, then the exception
  /// that is being handled is thrown again, which outside of a handler ends the process.
  void SetDetector(briodaq::cnv::DetId id);
  void SetDetector(const std::string& name);
  void SetDetector(int) = delete;
  void SetDetector(std::nullptr_t) = delete;
  /// Stores four texts; nothing reads them.
  void SetDBInfo(std::string info1, std::string info2, std::string info3, std::string info4);
  /// Forgets what was loaded: flags, counters, masks (the custom mask's value too) and diblocks. Keeps the
  /// texts, the configuration id, the number of subruns, the event builders and the channel records: a run
  /// that lacks one of the first shows that of the run before, and event builders of a reload are appended.
  void InvalidateCaches();

  /// Log how long statements take, at info severity.
  void SetTimeQueries(bool on) { timeQueries = on; }
  /// Log how long reading their rows takes, at info severity.
  void SetTimeParsing(bool on) { timeParsing = on; }
  /// Narrow the far detector's good-diblock mask to the region that analyses use.
  void SetApplyAnalysisMask(bool on) { applyAnalysisMask = on; }
  /// Leave diblocks that are not good out. Cleared by a mask load for `Alder` or for a simulated run.
  void SetUseGoodDiBlockMask(bool on) { useGoodDiBlockMask = on; }
  /// Take the mask of SetCustomDiBlockMask, on the far detector, in place of the database's.
  void SetUseCustomMask(bool on) { useCustomMask = on; }
  /// Bit i for diblock i + 1. Set it after the run and the detector: a change of either clears it.
  void SetCustomDiBlockMask(int mask) { customDiBlockMask = mask; }
  /// Throw, rather than warn, when no good-diblock mask is stored for the run.
  void SetAbortIfNoMask(bool on) { abortIfNoMask = on; }
  /// Throw, rather than warn, when the run is asked for again after it was not found.
  void SetAbortIfRunMissing(bool on) { abortIfRunMissing = on; }
  /// Throw, rather than go on without, when LoadAPDSettings cannot read all that it asks for.
  void SetAbortIfIncomplete(bool on) { abortIfIncomplete = on; }
  /// How often to try again when the hardware connection or the configuration cannot be had.
  void SetMaxLoadRetries(int retries) { maxLoadRetries = retries; }

  // --- loaders: true when the facts are there, now or already before ---

  /// Times, configuration, partition, diblocks, DCMs and event builders, from the tables runs and
  /// daqresourcesbyrun. False when the runs table has no such run, which is remembered and not asked again.
  /// \throws cet::exception "RunHistory::InvalidDetName", "RunHistory::FailedLoadRuns",
  ///   "RunHistory::FailedLoadRsrcs", "RunHistory::NoRsrcs"; with SetAbortIfRunMissing "RunHistory::" at the
  ///   second question for a missing run; with the mask in use and SetAbortIfNoMask "RunHistory" when none is
  ///   stored; std::out_of_range for too short a DCM's name.
  bool LoadDAQRunHistory();
  /// Which ports have a module installed at the run's start: from hardware_position for `Alder`, from the
  /// factory's tables for `Birch`. Throws what LoadDAQRunHistory throws.
  bool LoadHardwareInfo();
  /// Enabled boards and pixels, and thresholds, of the run's DAQ configuration. When it is not valid, tries
  /// again after a pause as often as SetMaxLoadRetries allows. Throws what the loaders before it throw.
  /// \param tryNumber  0 for clients
  bool LoadPixelInfo(int tryNumber);
  /// APD voltages, temperatures and, for `Birch`, gains. Replaces gLocToFA for `Birch`. Throws what the
  /// loaders before it throw. \throws cet::exception "RunHistory::Incomplete" with SetAbortIfIncomplete
  bool LoadAPDSettings();
  /// The four above, in order, up to the first that returns false.
  bool LoadAllDetInfo();
  /// The good-diblock mask, from gooddiblocksvsrun, a custom mask, or a default. False when the detector has
  /// no name. \throws cet::exception "RunHistory" when no mask is stored and SetAbortIfNoMask is on
  bool LoadGoodDiBlockMask();
  /// Protons on target, from potbyrun. False, with a line on standard error, when there is no row.
  bool LoadPOT();
  /// Nothing is loaded: true for simulated runs once they were built, else false.
  bool LoadCoolingInfo() const;
  /// Nothing is loaded: false.
  bool LoadDCSAlarms(int);

  // --- questions about the run; each loads what it needs ---

  /// Number of DCMs in the resources table, masked diblocks included.
  unsigned int NDCMs();
  /// Number of DCMs that took part, masked diblocks excluded.
  unsigned int NLiveDCMs();
  /// 32 for each instrumented board of the good diblocks.
  int NAnalysisChannels();
  /// A copy of a diblock by its position, from 0. \throws std::runtime_error for a position that there is not
  DiBlock GetDiBlock(int index, bool loadAll);
  bool IsDiBlockFullyInstrumented(int diblock);
  /// Bit k for each fully instrumented diblock k + 1.
  unsigned int GetConfiguration();
  /// Whether data quality takes the diblock (from 1) as good; true for all when the mask is not in use.
  bool IsGoodDiBlock(int diblock) { return !useGoodDiBlockMask || IsGoodByMask(diblock); }
  /// 14 characters, "#" for a good diblock, "-" for a bad one, diblock 1 first.
  std::string DiBlockMaskToString(int mask) const;
  /// The one region of at least four consecutive diblocks that analyses use, out of a mask of good ones.
  int ApplyAnalysisDiBlockMask(int mask) const;

  /// Seconds since 1970 UTC; 0 when the text that is stored is not a time.
  std::time_t TStart();
  /// The same; that of "2000-01-01 00:00:00" when no stop is stored.
  std::time_t TStop();
  /// The texts as stored ("2010-01-01 00:00:00" and empty when nothing is).
  std::string TStartAsString();
  std::string TStopAsString();
  /// The run's start for subrun 0, else 0.
  std::time_t SubrunTStart(int subrun);
  /// The run's stop for the last subrun, else 0.
  std::time_t SubrunTStop(int subrun);
  /// Writes the run in readable form to standard output, line by line while it loads. What a loader answers
  /// false for is shown as it stands; what a loader throws ends the dump after the lines before it.
  void Dump();

  /// Subrun records of the newest version, from dqsubruninfo; also for simulated runs. Empty when there are
  /// none or they cannot be read, and then asked for only once.
  std::vector<DQSubrunInfo> GetDQSubrunInfo();

  // --- questions about a channel; `ok` tells whether the answer is a real one ---

  /// For a simulated run: whether the channel's diblock is good.
  bool HasAPD(const unsigned int& channel);
  /// The same; false, after loading as ever, for a channel that the detector lacks, in a simulated run too.
  bool HasAPD(const geo::OfflineChan& channel);
  /// A copy of the channel's board when it is installed and enabled, else a default one.
  FEB GetFEB(const unsigned int& channel, bool& ok);
  FEB GetFEB(const geo::OfflineChan& channel, bool& ok);
  /// Mean gain of the channel's board; 0 without one.
  float GetGain(const unsigned int& channel, bool& ok);
  float GetGain(const geo::OfflineChan& channel, bool& ok);
  /// The channel's gain; 0 without a board.
  float GetPixelGain(const unsigned int& channel, bool& ok);
  float GetPixelGain(const geo::OfflineChan& channel, bool& ok);
  /// A copy of the board's 32 gains; 32 zeros without one.
  std::vector<float> GetPixelGains(const unsigned int& channel, bool& ok);
  std::vector<float> GetPixelGains(const geo::OfflineChan& channel, bool& ok);
  /// The channel's readout threshold in ADC counts; 4095 when it has none.
  int GetThreshold(const unsigned int& channel, bool& ok);
  int GetThreshold(const geo::OfflineChan& channel, bool& ok);
  /// Warns on standard error at every call; nothing tells that an APD is cooled, so the answer is false.
  bool IsCooled(const unsigned int& channel);
  bool IsCooled(const geo::OfflineChan& channel);

  // --- channel records that clients add; times in the client's own unit ---

  void SetChanInfo(geo::OfflineChan channel, float occupancy, float coincidence, long time);
  void SetIsBad(geo::OfflineChan channel, bool isBad, long time);
  /// Each answers from the latest record that was made strictly before a time, and adds an unknown channel
  /// with no records. Without such a record: -6, 0, false.
  float Occupancy(geo::OfflineChan channel, long time);
  float Coincidence(geo::OfflineChan channel, long time);
  bool IsBad(geo::OfflineChan channel, long time);
  /// Writes "plane,cell,occupancy" for every record of SetChanInfo to standard output.
  void PrintChanInfo();

  // --- what is stored just now; these load nothing ---

  int GetRunNumber() const { return runNumber; }
  briodaq::cnv::DetId GetDetectorId() const { return detectorId; }
  const std::string& GetDetectorName() const { return detectorName; }
  long long GetConfigId() const { return configId; }
  int GetPartition() const { return partition; }
  const std::string& GetRunType() const { return runType; }
  float GetTotalPOT() const { return totalPOT; }
  int GetGoodDiBlockMask() const { return goodDiBlockMask; }
  const std::vector<DiBlock>& GetDiBlocks() const { return diBlocks; }
  const std::vector<BNEVB>& GetBNEVBs() const { return bnevbs; }
  const std::vector<Subrun>& GetSubruns() const { return subruns; }
  bool IsMC() const { return isMC; }
  int NSubruns() const { return nSubruns; }
  int NTriggers() const { return nTriggers; }
  int NActiveChannels() const { return nActiveChannels; }
  int NTotalChannels() const { return nTotalChannels; }
  int NEnabledFEBs() const { return nEnabledFEBs; }
  int NInstrumentedFEBs() const { return nInstrumentedFEBs; }
  /// Which settings were recorded or measured; empty until LoadAPDSettings has read them.
  const SettingsFacts& GetSettingsFacts() const { return settingsFacts; }
  /// What LoadAPDSettings could not read and went on without: "gains", say.
  const std::vector<std::string>& GetIncompleteParts() const { return incompleteParts; }
  /// Whether gLocToFA still is what this object's settings were taken from.
  bool IsLocationMapMine() const;

private:
  friend struct RunHistoryTestPeer;

  bool IsSimulated() const { return runNumber > 999999 || runNumber <= 9999; }
  void BuildMC();
  void ReadRunRow(Table& runs);
  void ReadResources(Table& resources);
  bool IsGoodByMask(int diblock);
  bool LoadPixelInfoOnce(int tryNumber, bool& tryAgain);
  bool LoadNearHardware(Table& table);
  bool LoadFarHardware(Table& table);
  APDsByModule PullAPDInfoFromDB();
  LocationMap PullFEBInfoFromDB(APDsByModule apds);
  void MapHardwareToLocation();
  void StoreMappedGains();
  DCMSettingsFacts& FactsOf(const DiBlock& diblock, const DCM& dcm);
  void IndexBoards();
  unsigned int DAQChannelOf(const geo::OfflineChan& channel);
  PlaceInIndex InIndex(unsigned int channel) const;
  PlaceInIndex InIndex(const geo::OfflineChan& channel) const;
  // Apart from the questions, which would otherwise save registers for them.
  [[gnu::noinline]] bool HasAPDInRecords(unsigned int channel);
  [[gnu::noinline]] bool HasAPDInRecords(const geo::OfflineChan& channel);
  [[gnu::noinline]] float PixelGainInRecords(unsigned int channel, bool& ok);
  [[gnu::noinline]] float PixelGainInRecords(const geo::OfflineChan& channel, bool& ok);
  [[gnu::noinline]] int ThresholdInRecords(unsigned int channel, bool& ok);
  [[gnu::noinline]] int ThresholdInRecords(const geo::OfflineChan& channel, bool& ok);
  auto LoadedMembers();
  auto OtherMembers();
  template <class Load>
  auto WithFreshTry(Load load);
  template <class Load, class Members>
  auto WithFreshTry(Load load, Members stored);
  bool WillBeginAfresh() const;
  bool HasAllDetInfo() const;
  bool IsTooIncomplete() const { return abortIfIncomplete && !incompleteParts.empty(); }
  const FEB* LiveFEB(const ChannelParts& channel, bool& ok);
  bool LoadForLiveFEB(const ChannelParts& channel);

  // In the order in which they are documented for those who keep the databases. Members.h lists them too.
  bool runNotFound = false;
  bool daqRunHistoryLoaded = false;
  bool pixelInfoLoaded = false;
  bool hardwareLoaded = false;
  bool apdSettingsLoaded = false;
  bool coolingLoaded = false;
  bool potLoaded = false;
  bool goodDiBlockMaskLoaded = false;
  bool timeQueries = false;
  bool timeParsing = false;
  bool applyAnalysisMask = false;
  bool useGoodDiBlockMask = false;
  bool useCustomMask = false;
  bool isMC = false;
  bool abortIfNoMask = false;
  bool abortIfRunMissing = false;
  bool dqSubrunInfoLoaded = false;
  bool analysisChannelsCounted = false;
  std::int32_t customDiBlockMask = 0;
  std::int32_t runNumber = -1;
  std::int32_t nSubruns = 0;
  std::int32_t nTriggers = 0;
  std::int32_t nActiveChannels = 0;
  std::int32_t nAnalysisChannels = 0;
  std::int32_t nTotalChannels = 0;
  std::int32_t nEnabledFEBs = 0;
  std::int32_t nInstrumentedFEBs = 0;
  briodaq::cnv::DetId detectorId = briodaq::cnv::Unknown;
  std::int32_t spareSetting = 3;
  std::int32_t partition = -1;
  std::int32_t goodDiBlockMask = 0;
  std::uint32_t nDCMs = 0;
  std::int32_t maxLoadRetries = 0;
  float totalPOT = 0.0F;
  std::string dbInfo1;
  std::string dbInfo2;
  std::string dbInfo3;
  std::string dbInfo4;
  std::string runType;
  std::string detectorName;
  std::string tStartText = "2010-01-01 00:00:00";
  std::string tStopText;
  std::string spareText;
  std::vector<std::int32_t> spareList;
  std::vector<DiBlock> diBlocks;
  std::vector<BNEVB> bnevbs;
  std::map<geo::OfflineChan, ChannelHistory<BadChan_t>> badChanHistory;
  std::map<geo::OfflineChan, ChannelHistory<ChanInfo_t>> chanInfoHistory;
  std::vector<Subrun> subruns;
  std::vector<DQSubrunInfo> dqSubrunInfo;
  std::int64_t configId = 0;
  SettingsFacts settingsFacts;
  std::uint64_t locationMapping = 0;  // which of the process's mappings is this object's; 0 for none
  bool abortIfIncomplete = false;
  bool mayBeginAfresh = false;               // during a load that is tried again if it is interrupted
  std::vector<std::string> incompleteParts;  // what LoadAPDSettings could not read

  // Ways to find what the lists above hold.
  BoardIndex boardIndex;
  const daqchannelmap::DAQChannelMap* channelMap = nullptr;
  const OfflineBoards* offlineBoards = nullptr;
};

/// Ascending by number, compared as signed 16-bit values.
BRIO_EXPORT bool SortDiBlocks(RunHistory::DiBlock a, RunHistory::DiBlock b);

}  // namespace brio::dbi
