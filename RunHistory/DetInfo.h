#pragma once

#include <string>

#include "framework/Export.h"

namespace briodaq::cnv {

/// The experiment's detectors, as the databases number them.
enum DetId : int { Unknown = 0, Alder = 1, Birch = 2, Cedar = 3, Damson = 4, Elder = 5, Fenwick = 7 };

/// Detector numbers and names. Names are compared exactly, letter case included.
class BRIO_EXPORT DetInfo {
public:
  /// The detector's name; "Unknown" for a number that no detector has.
  static std::string GetName(int id);
  /// The detector's number; 0 for a text that no detector has for a name.
  static int GetId(const std::string& name);
  static bool DetIdOk(int id);
  static bool DetNameOk(const std::string& name);
};

}  // namespace briodaq::cnv
