// The extension module moxsdk._moxsdk: the mesh, its warnings, and the tool's file reading, writing and
// processing. The package moxsdk re-exports it.

#include <pybind11/pybind11.h>

#include "pyfiles.h"
#include "pymesh.h"
#include "pyreports.h"

namespace py = pybind11;

PYBIND11_MODULE(_moxsdk, pModule)
{
    pModule.doc() = "moxsdk polygon meshes (extension module; use the package moxsdk)";
    moxpython::DefineMeshWarning(pModule);
    moxpython::DefineMesh(pModule);
    moxpython::DefineFileFunctions(pModule);
}
