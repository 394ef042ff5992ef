#include "python/module/Failure.h"

#include <pybind11/pybind11.h>

#include "python/module/Text.h"

namespace brio::python {
namespace {

namespace py = pybind11;

const char* ClassOf(Failure::Kind kind) {
  switch (kind) {
    case Failure::Kind::Database: return "DatabaseError";
    case Failure::Kind::RunNotFound: return "RunNotFound";
    case Failure::Kind::Incomplete: return "IncompleteError";
    case Failure::Kind::Error: break;
  }
  return "Error";
}

void Translate(std::exception_ptr thrown) {
  try {
    if (thrown) { std::rethrow_exception(thrown); }
  } catch (const Failure& failure) {
    const py::object type = py::module_::import("brio._errors").attr(ClassOf(failure.GetKind()));
    py::list log;
    for (const auto& line : failure.Log()) {
      log.append(Text(line));
    }
    const py::object error = type(Text(failure.what()), Text(failure.Category()), py::tuple(log));
    PyErr_SetObject(type.ptr(), error.ptr());
  }
}

}  // namespace

void RegisterFailures() { py::register_exception_translator(&Translate); }

}  // namespace brio::python
