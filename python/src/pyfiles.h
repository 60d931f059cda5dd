#pragma once
// moxsdk.read, moxsdk.write and moxsdk.process_file: the tool's readers, writers and process pipeline
// (the same code as `moxmesh info` and `moxmesh process`), with the GIL released while they work.

#include <pybind11/pybind11.h>

namespace moxpython {

// Defines read, write, process_file and the exception MeshFileError (a RuntimeError naming the file and
// the problem) in pModule.
void DefineFileFunctions(pybind11::module_& pModule);

}  // namespace moxpython
