#include "tools/shared/StandardStreams.h"

#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <cerrno>

namespace brio::tools {

void OccupyStandardStreams() {
  // The wrong way round for input and output. In this order, since open takes the lowest free descriptor.
  constexpr std::array kModes{O_WRONLY, O_RDONLY, O_WRONLY};
  for (int descriptor = STDIN_FILENO; descriptor <= STDERR_FILENO; ++descriptor) {
    if (fcntl(descriptor, F_GETFD) == -1 && errno == EBADF) {
      static_cast<void>(open("/dev/null", kModes.at(static_cast<std::size_t>(descriptor))));
    }
  }
}

}  // namespace brio::tools
