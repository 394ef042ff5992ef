#pragma once

#include <string>
#include <utility>

namespace brio::dbi {

/// One column of a table: its type and name as the definition file gives them, and a value bound to it when
/// it takes part in a selection.
class ColumnDef {
public:
  ColumnDef(std::string type, std::string name) : type_(std::move(type)), name_(std::move(name)) {}

  std::string Type() const { return type_; }
  std::string Name() const { return name_; }
  std::string Value() const { return value_; }
  void SetValue(std::string value) { value_ = std::move(value); }

private:
  std::string type_;
  std::string name_;
  std::string value_;
};

}  // namespace brio::dbi
