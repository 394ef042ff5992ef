#pragma once

#include <map>
#include <string>
#include <vector>

#include <libpq-fe.h>

namespace brio::dbi {

/// 32 gains by DAQ pixel number, by APD serial.
using GainsBySerial = std::map<std::string, std::vector<float>>;

/// The statement that reads the test stand's gains below zero degrees of all APDs, from public.apd_pixel_m.
extern const char* const kGainsStatement;

/// Walks the rows of that statement once. Of each APD only the highest batch counts; where it measured a
/// pixel at several temperatures, the warmest wins. Pixels without a measurement are 100.
GainsBySerial ReadGains(const PGresult* rows, int detector);

}  // namespace brio::dbi
