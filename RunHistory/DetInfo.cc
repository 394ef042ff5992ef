#include "RunHistory/DetInfo.h"

#include <array>

namespace briodaq::cnv {
namespace {

struct Detector {
  DetId id;
  const char* name;
};
constexpr std::array kDetectors{Detector{Alder, "Alder"}, Detector{Birch, "Birch"},
                                Detector{Cedar, "Cedar"}, Detector{Damson, "Damson"},
                                Detector{Elder, "Elder"}, Detector{Fenwick, "Fenwick"}};
constexpr const char* kUnknownName = "Unknown";

}  // namespace

std::string DetInfo::GetName(int id) {
  for (const auto& detector : kDetectors) {
    if (detector.id == id) { return detector.name; }
  }
  return kUnknownName;
}

int DetInfo::GetId(const std::string& name) {
  for (const auto& detector : kDetectors) {
    if (name == detector.name) { return detector.id; }
  }
  return Unknown;
}

bool DetInfo::DetIdOk(int id) { return GetName(id) != kUnknownName; }
bool DetInfo::DetNameOk(const std::string& name) { return GetId(name) != Unknown; }

}  // namespace briodaq::cnv
