#pragma once

#include <string>

namespace brio::test {

/// While it lives, libpq does not take statements that begin with a text: the send fails and the connection
/// stays as it is, as when memory runs out.
class RefusedSend {
public:
  explicit RefusedSend(std::string beginning);
  ~RefusedSend();
  RefusedSend(const RefusedSend&) = delete;
  RefusedSend& operator=(const RefusedSend&) = delete;
};

}  // namespace brio::test
