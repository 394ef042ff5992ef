#pragma once

namespace brio::tools {

/// Occupies standard input, output and error where the caller closed them, so that no file or connection that
/// is opened later gets their descriptors, and an answer with them. Reading such an input and writing such an
/// output fail, as with closed ones; what is said on such an error stream is lost. Call first.
void OccupyStandardStreams();

}  // namespace brio::tools
