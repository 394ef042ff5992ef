#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include <libpq-fe.h>

#include "benchmarks/loads/Program.h"
#include "database/Result.h"

namespace brio::benchmarks {

/// A connection as somebody would open it who uses libpq directly, with the load's transaction in it. Counts
/// what goes over it. Every failure throws std::runtime_error.
class Connection {
public:
  Connection(const std::string& database, const std::string& begin);

  /// Runs a statement. \param format  0 for text, 1 for binary
  dbi::ResultHandle Ask(const std::string& statement, const std::vector<std::string>& parameters = {},
                        int format = 0);
  /// Runs a statement and gives its rows to `take`, one result for each, as they arrive.
  template <class Take>
  void AskRowByRow(const std::string& statement, Take take) {
    Send(statement);
    while (dbi::ResultHandle row = Next()) {
      if (PQresultStatus(row.get()) == PGRES_SINGLE_TUPLE) { take(row.get()); }
    }
  }
  /// Commits and disconnects.
  void Close();

  const Traffic& GetTraffic() const { return traffic_; }

private:
  void Send(const std::string& statement);
  dbi::ResultHandle Next();
  dbi::ResultHandle Checked(PGresult* result);

  dbi::ConnectionHandle connection_;
  Traffic traffic_;
};

/// The 2 digits of a DCM's name, "dcm-d-DD-CC", at a position.
inline int DigitsAt(const char* name, std::size_t position) {
  return 10 * (name[position] - '0') + (name[position + 1] - '0');
}

/// A board of a DCM by the DCM's name.
inline std::size_t PlaceIn(const char* dcmName, std::size_t port) {
  return PlaceOf(static_cast<std::size_t>(DigitsAt(dcmName, 6)),
                 static_cast<std::size_t>(DigitsAt(dcmName, 9)), port);
}

/// A big-endian whole number.
template <class T>
T BigEndian(const char* bytes) {
  std::uint64_t value = 0;
  for (std::size_t i = 0; i < sizeof(T); ++i) {
    value = value << 8U | static_cast<unsigned char>(bytes[i]);
  }
  return static_cast<T>(value);
}

/// Far-detector ports that are cabled but never read out.
inline bool IsNeverMarked(int diblock, int dcm, int port) {
  return (diblock == 4 && dcm == 7 && port == 15) || (diblock == 5 && dcm == 7 && port == 59) ||
         (diblock == 14 && dcm == 6 && port == 42);
}

/// The DAQ pixel of the spot that the test stand calls by column ('A' to 'D') and row (from 1).
inline std::size_t PixelAt(char column, int row) {
  const int offset = column >= 'B' && column <= 'D' ? column - 'A' : 0;
  return static_cast<std::size_t>(4 * (row - 1) + offset);
}

}  // namespace brio::benchmarks
