#pragma once

#include <cstdint>
#include <iosfwd>
#include <string>

#include "arrays/Status.h"
#include "framework/Export.h"

namespace brio::arrays {

/// CSV with a line of names, one JSON list, or one JSON object a line.
enum class Form { CSV, JSON, NDJSON };

/// The shortest text that reads back as the same number: "1.245".
BRIO_EXPORT std::string Shortest(float value);
BRIO_EXPORT std::string Shortest(double value);

/// A time of the databases with its zone, which is UTC: "2014-06-10T03:00:00Z". Another text stays as it is.
BRIO_EXPORT std::string WithZone(const std::string& time);

/// Writes records of named fields in one of the forms. Numbers are in the shortest form that reads back as
/// the same number; what is no finite number is empty (CSV) or null, as is what is absent. JSON is UTF-8:
/// other bytes become U+FFFD. Nothing is allocated for each record.
class BRIO_EXPORT RecordWriter {
public:
  RecordWriter(std::ostream& stream, Form form);
  RecordWriter(const RecordWriter&) = delete;
  RecordWriter& operator=(const RecordWriter&) = delete;

  /// Every record has the same fields in the same order.
  void Begin();
  void Add(const char* name, bool value);
  void Add(const char* name, int value);
  void Add(const char* name, std::uint32_t value);
  void Add(const char* name, long long value);
  void Add(const char* name, float value);
  void Add(const char* name, double value);
  void Add(const char* name, const std::string& value);
  void Add(const char* name, const char* value);
  void AddNothing(const char* name);
  /// A value where it is known, or replaced by the default, and its status in the field after it.
  template <class T>
  void Add(const char* name, const char* statusName, const T& value, Status status) {
    if (status == Status::Known || status == Status::Replaced) {
      Add(name, value);
    } else {
      AddNothing(name);
    }
    Add(statusName, NameOf(status));
  }
  template <class T>
  void Add(const char* name, const char* statusName, const Value<T>& value) {
    Add(name, statusName, value.value, value.status);
  }
  void End();

  /// The names of the fields, for a CSV without records too: add the fields of any record between the two.
  void BeginNames();
  void EndNames();
  /// After the last record.
  void Finish();

private:
  void Name(const char* name);
  template <class Number>
  void AddNumber(const char* name, Number value);
  void AddJsonText(const char* text, std::size_t length);
  void AddCsvText(const char* text, std::size_t length);
  void AddText(const char* name, const char* text, std::size_t length);

  std::ostream& stream_;
  Form form_;
  std::string buffer_;
  bool namesOnly_ = false;
  bool isFirstField_ = true;
  bool isFirstRecord_ = true;
};

}  // namespace brio::arrays
