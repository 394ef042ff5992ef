#include "arrays/Writers.h"

#include "arrays/Fields.h"

namespace brio::arrays {

void Write(std::ostream& stream, Form form, const Boards& boards) {
  RecordWriter writer(stream, form);
  WriteRecords(writer, boards);
}

void Write(std::ostream& stream, Form form, const Channels& channels, const Boards& boards) {
  RecordWriter writer(stream, form);
  WriteRecords(writer, channels, boards);
}

void Write(std::ostream& stream, Form form, const std::vector<RunLine>& runs) {
  RecordWriter writer(stream, form);
  WriteRecords(writer, runs);
}

}  // namespace brio::arrays
