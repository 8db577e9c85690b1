#pragma once

// Payloads between the client and Python objects, in the chunks the client moves: a download
// goes to a binary file object (write) or a bytearray (extended); an upload comes from a
// binary file object (readinto or read; seek and tell give its size) or from any object with
// the buffer protocol (bytes, bytearray, memoryview), read in place. Each chunk takes the GIL
// for as long as Python handles it; a Python error there aborts the request (CallScope::Fail)
// and is what the call raises.

#include <ios>
#include <istream>
#include <memory>
#include <ostream>
#include <streambuf>

#include <pybind11/pybind11.h>

namespace ostradb::python {

namespace py = pybind11;

// An output stream over target; raises TypeError for a text file or an object that is none of
// the above. GIL held.
std::unique_ptr<std::ostream> MakeOutputStream(py::handle target);
// An input stream over source; raises TypeError as MakeOutputStream. GIL held.
std::unique_ptr<std::istream> MakeInputStream(py::handle source);

}  // namespace ostradb::python
