// The whole far detector: every value of the sample's run 13001 against statements of the tests' own.
#include <cmath>
#include <cstdlib>
#include <map>
#include <sstream>
#include <stdexcept>

#include <gtest/gtest.h>

#include "tests/RunHistory/Peer.h"
#include "tests/support/Output.h"
#include "tests/support/Server.h"

namespace brio::test {
namespace {

using dbi::RunHistory;
using Rows = std::vector<std::vector<std::string>>;

constexpr int kConfiguration = 1002;
const std::string kDatabase = "full_birch";

RunHistory& LoadedRun() {
  static RunHistory run(13001, "Birch");
  static const bool loaded = [] {
    const EnvironmentVariable database("BRIO_DATABASE", server::Template("full"));
    const CapturedMessages messages("error");
    const CapturedOutput output;
    return run.LoadAllDetInfo();
  }();
  if (!loaded) { throw std::runtime_error("the run could not be loaded"); }
  return run;
}

template <class Visit>
void ForEachBoard(const RunHistory& run, Visit visit) {
  for (const auto& diblock : run.GetDiBlocks()) {
    for (const auto& dcm : diblock.dcms) {
      for (std::size_t port = 0; port < dcm.febs.size(); ++port) {
        visit(diblock, dcm, port, dcm.febs[port]);
      }
    }
  }
}

unsigned int ByteAt(const std::string& hex, std::size_t index) {
  return static_cast<unsigned int>(std::strtoul(hex.substr(2 * index, 2).c_str(), nullptr, 16));
}

/// dcm_name → hexadecimal text of a packed value, and another column.
std::map<std::string, std::pair<std::string, std::string>> Packed(const std::string& columns,
                                                                  const std::string& table) {
  std::map<std::string, std::pair<std::string, std::string>> packed;
  const auto rows = server::Query(kDatabase, "SELECT dcm_name, " + columns + " FROM daqconfig." + table +
                                                 " WHERE config_id = " + std::to_string(kConfiguration));
  for (const auto& row : rows) {
    packed[row[0]] = {row[1], row[2]};
  }
  return packed;
}

TEST(FullConfiguration, HasEveryMask) {
  const auto packed = Packed("encode(pixel_enable_masks, 'hex'), feb_enable_mask", "enable_masks");
  ASSERT_EQ(packed.size(), 168U);
  int nBoards = 0;
  int nEnabled = 0;
  int nWithPixelsOff = 0;
  std::map<std::string, std::uint64_t> bits;
  ForEachBoard(LoadedRun(), [&](const auto&, const auto& dcm, std::size_t port, const auto& feb) {
    const auto& [hex, febMask] = packed.at(dcm.appName);
    const auto mask = static_cast<std::uint64_t>(std::stoll(febMask));
    ASSERT_EQ(dcm.febEnableMask, mask);
    const bool enabled = ((mask >> port) & 1U) != 0;
    ASSERT_EQ(feb.isEnabled, enabled);
    unsigned int pixels = 0;
    for (std::size_t i = 0; i < 4; ++i) {
      pixels = pixels << 8U | ByteAt(hex, 4 * port + i);
    }
    ASSERT_EQ(static_cast<unsigned int>(feb.pixelEnableMask), enabled ? pixels : 0U);
    ASSERT_EQ(feb.nEnabledPixels, enabled ? __builtin_popcount(pixels) : 0);
    ++nBoards;
    nEnabled += enabled ? 1 : 0;
    nWithPixelsOff += enabled && pixels != 0xFFFFFFFFU ? 1 : 0;
  });
  EXPECT_EQ(nBoards, 10752);
  EXPECT_EQ(LoadedRun().NEnabledFEBs(), nEnabled);
  EXPECT_EQ(LoadedRun().NTotalChannels(), 32 * nEnabled);
  EXPECT_GT(nWithPixelsOff, 50);
  EXPECT_LT(nEnabled, nBoards);
}

TEST(FullConfiguration, HasEveryThreshold) {
  const auto packed = Packed("encode(thresholds, 'hex'), NULL", "thresholds");
  ASSERT_EQ(packed.size(), 168U);
  int nNegative = 0;
  ForEachBoard(LoadedRun(), [&](const auto&, const auto& dcm, std::size_t port, const auto& feb) {
    if (!feb.isEnabled) {
      ASSERT_TRUE(feb.thresholds.empty());
      return;
    }
    const std::string& hex = packed.at(dcm.appName).first;
    ASSERT_EQ(feb.thresholds.size(), 32U);
    for (std::size_t pixel = 0; pixel < 32; ++pixel) {
      const std::size_t at = 2 * (32 * port + pixel);
      const auto counts = static_cast<std::int16_t>(ByteAt(hex, at) << 8U | ByteAt(hex, at + 1));
      ASSERT_EQ(feb.thresholds[pixel], counts) << dcm.appName << " port " << port << " pixel " << pixel;
      nNegative += counts < 0 ? 1 : 0;
    }
  });
  EXPECT_EQ(nNegative, 2);
}

TEST(FullConfiguration, HasEveryVoltageAndTemperature) {
  std::map<std::pair<std::string, std::size_t>, std::vector<std::string>> settings;
  for (const auto& row : server::Query(kDatabase,
                                       "SELECT dcm_name, port, temperature_enabled, temperature, voltage "
                                       "FROM slowcontrol.apd_settings WHERE config_id = " +
                                           std::to_string(kConfiguration))) {
    settings[{row[0], std::stoul(row[1])}] = {row[2], row[3], row[4]};
  }
  ASSERT_EQ(settings.size(), 10752U);
  float before = -100.0F;
  int nCarriedOver = 0;
  ForEachBoard(LoadedRun(), [&](const auto&, const auto& dcm, std::size_t port, const auto& feb) {
    const auto& row = settings.at({dcm.appName, port});
    ASSERT_EQ(feb.temperatureEnabled, row[0] == "t");
    if (row[1] != "\\N") {
      before = static_cast<float>(std::stod(row[1]));
    } else {
      ++nCarriedOver;
    }
    ASSERT_EQ(feb.temperature, before) << dcm.appName << " port " << port;
    ASSERT_EQ(feb.voltage, row[2] == "\\N" ? 0 : std::stoi(row[2]));
  });
  EXPECT_GT(nCarriedOver, 50);
}

/// Gains by place, as one statement sees them: of the APD that was connected at the run's start, the highest
/// batch, and in it the warmest temperature below zero.
Rows GainsByPlace() {
  return server::Query(kDatabase, R"(
    WITH installed AS (
      SELECT DISTINCT ON (module) module, right(barcode, 7) AS serial
      FROM millpondprod_factory.barcoded_item AS item
      JOIN millpondprod_factory.module_apd_connection ON apd = barcoded_item_id
      JOIN millpondprod_factory.brio_connection AS connection USING (connection_id)
      WHERE glassfish_discriminator = 'apd' AND date_added < '2015-08-01 15:30:00Z'
        AND (connection.date_removed IS NULL OR connection.date_removed > '2015-08-01 15:30:00Z')
        AND (item.date_removed IS NULL OR item.date_removed > '2015-08-01 15:30:00Z')
      ORDER BY module, date_trunc('day', date_added) DESC, serial),
    newest AS (
      SELECT right(apd_id, 7) AS serial, max(batch_no) AS batch_no FROM public.apd_pixel_m
      WHERE target_degc < 0 GROUP BY 1),
    gain AS (
      SELECT DISTINCT ON (serial, tester) serial, 4 * (tester % 8) + tester / 8 AS pixel, pixel_m
      FROM (SELECT right(apd_id, 7) AS serial, batch_no, target_degc, pixel_m,
                   8 * (ascii(pixel_col) - 65) + pixel_row - 1 AS tester
            FROM public.apd_pixel_m WHERE target_degc < 0 AND pixel_col IN ('A', 'B', 'C', 'D')) AS measured
      JOIN newest USING (serial, batch_no)
      ORDER BY serial, tester, target_degc DESC)
    SELECT btrim(location1, 'DIBLK:')::int, btrim(position1, 'DCM:')::int, btrim(port1, 'PRT:')::int,
           string_agg(pixel || ':' || pixel_m, ' ')
    FROM public.feb_comm_cables
    JOIN millpondprod_factory.module AS place
      ON (block, layer, position_in_layer) = (btrim(location2, 'BLK:')::int, btrim(position2, 'PLN:')::int,
                                              btrim(port2, 'POS:')::int)
    JOIN installed ON installed.module = place.barcoded_item_id
    JOIN gain USING (serial)
    WHERE EXISTS (
      SELECT FROM millpondprod_factory.module_feb_connection AS feb_connection
      JOIN millpondprod_factory.brio_connection AS connection USING (connection_id)
      JOIN millpondprod_factory.barcoded_item AS item ON barcoded_item_id = feb
      WHERE feb_connection.module = place.barcoded_item_id AND date_added < '2015-08-01 15:30:00Z'
        AND (connection.date_removed IS NULL OR connection.date_removed > '2015-08-01 15:30:00Z')
        AND (item.date_removed IS NULL OR item.date_removed > '2015-08-01 15:30:00Z'))
    GROUP BY 1, 2, 3)");
}

TEST(FullConfiguration, HasEveryGain) {
  std::map<std::vector<int>, std::vector<float>> gains;
  for (const auto& row : GainsByPlace()) {
    std::vector<float> ofPlace(32, 100.0F);
    std::istringstream text(row[3]);
    for (std::string pair; text >> pair;) {
      const auto colon = pair.find(':');
      ofPlace.at(std::stoul(pair)) = static_cast<float>(std::stod(pair.substr(colon + 1)));
    }
    gains[{std::stoi(row[0]), std::stoi(row[1]), std::stoi(row[2])}] = ofPlace;
  }
  EXPECT_GT(gains.size(), 10500U);
  int nCompared = 0;
  int nReplaced = 0;
  ForEachBoard(LoadedRun(), [&](const auto& diblock, const auto& dcm, std::size_t port, const auto& feb) {
    // Diblock 12 has the sample's oddities, with tests of their own.
    if (diblock.number == 12 || !feb.isInstalled) { return; }
    const auto found = gains.find({diblock.number, dcm.number, static_cast<int>(port)});
    if (found == gains.end()) { return; }
    auto expected = found->second;
    float sum = 0.0F;
    for (const float gain : expected) {
      sum += gain;
    }
    float average = sum / 32;
    if (std::abs(100.0 - static_cast<double>(average)) > 10.0) {
      average = 100.0F;
      expected.assign(32, 100.0F);
      ++nReplaced;
    }
    ASSERT_EQ(feb.pixelGains, expected) << dcm.appName << " port " << port;
    ASSERT_EQ(feb.avgGain, average);
    ++nCompared;
  });
  EXPECT_GT(nCompared, 9000);
  EXPECT_GT(nReplaced, 5);
  EXPECT_EQ(LoadedRun().NInstrumentedFEBs(), static_cast<int>(dbi::gLocToFA.size()));
}

TEST(FullConfiguration, OfARunWithoutTheFirstDiBlocksHasNoGainsOnTheLastFour) {
  const EnvironmentVariable database("BRIO_DATABASE", server::Template("full"));
  RunHistory run(13003, "Birch");
  {
    const CapturedMessages messages("error");
    const CapturedOutput output;
    ASSERT_TRUE(run.LoadAllDetInfo());
  }
  ASSERT_EQ(run.GetDiBlocks().size(), 10U);
  EXPECT_EQ(run.NInstrumentedFEBs(), static_cast<int>(dbi::gLocToFA.size()));
  EXPECT_GT(dbi::gLocToFA.size(), 10000U);
  int nWithGains = 0;
  ForEachBoard(run, [&](const auto& diblock, const auto&, std::size_t, const auto& feb) {
    if (diblock.number > 10) {
      ASSERT_EQ(feb.avgGain, 0.0F);
      ASSERT_EQ(feb.pixelGains, std::vector<float>(32, 100.0F));
    } else if (feb.isInstalled) {
      nWithGains += feb.avgGain != 0.0F ? 1 : 0;
    }
  });
  EXPECT_GT(nWithGains, 4000);
}

}  // namespace
}  // namespace brio::test
