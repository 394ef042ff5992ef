#pragma once

#include <functional>
#include <string>
#include <vector>

#include "RunHistory/RunHistory.h"

namespace brio::test {

/// How a run is asked for.
struct Settings {
  const char* name = "";
  std::function<void(dbi::RunHistory&)> apply = [](dbi::RunHistory&) {};
};

/// Every kind of setting that changes what a load asks or says.
const std::vector<Settings>& AllSettings();

/// All that can be seen of a step: what it answered or threw, what went to standard output, to standard error
/// and through the message logger (times left out).
std::string Seen(const std::function<std::string()>& step);

/// All that can be seen of a run under some settings: of every loader, asked twice, of the questions about
/// the run and about some channels, of the dump; and what they left behind.
struct Transcript {
  std::string text;
  dbi::RunHistory run;
  dbi::LocationMap locations;
};
Transcript TranscriptOf(const std::string& detector, int run, const Settings& settings);

/// Where two transcripts differ first, every stored fact included; empty when they do not.
std::string FirstDifference(const Transcript& transcript, const Transcript& expected);

/// Where two texts differ first: that line of both.
std::string FirstDifference(const std::string& text, const std::string& expected);

/// The channels that are asked about: good, masked, uncabled and impossible ones.
const std::vector<geo::OfflineChan>& Channels();
/// All answers about a channel.
std::string AskChannel(dbi::RunHistory& run, const geo::OfflineChan& channel);
/// All answers about a run that load what they need.
std::string AskRun(dbi::RunHistory& run);
/// The data-quality records.
std::string AskDataQuality(dbi::RunHistory& run);

}  // namespace brio::test
