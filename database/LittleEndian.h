#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>

namespace brio::dbi::littleendian {

// What a file holds is in this order, and so is every machine that this was tried on.
static_assert(__BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__, "bytes would have to be swapped here");

template <class T>
void Append(std::string& bytes, const T* values, std::size_t count) {
  bytes.append(reinterpret_cast<const char*>(values), count * sizeof(T));
}

template <class T>
void Append(std::string& bytes, T value) {
  Append(bytes, &value, 1);
}

/// The number that stands at an address, which need not be aligned.
template <class T>
T At(const char* bytes, std::size_t index = 0) {
  T value;
  std::memcpy(&value, bytes + index * sizeof(T), sizeof(T));
  return value;
}

/// Takes bytes from the front of a text that may be shorter than it says.
class Cursor {
public:
  explicit Cursor(std::string_view bytes) : left_(bytes) {}

  /// Null when so many are not left.
  const char* Take(std::uint64_t count) {
    if (count > left_.size()) { return nullptr; }
    const char* taken = left_.data();
    left_.remove_prefix(static_cast<std::size_t>(count));
    return taken;
  }
  /// \return false, with the value as it was, when it is not there
  template <class T>
  bool Take(T& value) {
    const char* taken = Take(std::uint64_t{sizeof(T)});
    if (taken != nullptr) { value = At<T>(taken); }
    return taken != nullptr;
  }
  std::size_t Left() const { return left_.size(); }

private:
  std::string_view left_;
};

}  // namespace brio::dbi::littleendian
