#pragma once

/// What other programs may use of the libraries. All that is not marked is hidden inside them.
#define BRIO_EXPORT __attribute__((visibility("default")))

/// What this project's own libraries, command and tests use of each other. The tag becomes a part of the
/// symbol's name, by which it is put under the version BRIO_PRIVATE: nothing is promised of it, and its
/// headers are not installed.
#define BRIO_EXPORT_PRIVATE __attribute__((visibility("default"), abi_tag("brio_private")))
