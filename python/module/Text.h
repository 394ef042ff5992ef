#pragma once

#include <string>

#include <pybind11/pybind11.h>

namespace brio::python {

/// A text of the library's. It may quote what a server said, which need not be UTF-8.
inline pybind11::str Text(const std::string& bytes) {
  PyObject* text = PyUnicode_DecodeUTF8(bytes.data(), static_cast<Py_ssize_t>(bytes.size()), "replace");
  if (text == nullptr) { throw pybind11::error_already_set(); }
  return pybind11::reinterpret_steal<pybind11::str>(text);
}

}  // namespace brio::python
